// A module ready for use in one step: a gatekeeper, the daemon as a child, its registration, a control
// client.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/lab/ControlClient.h"
#include "tools/lab/DaemonProcess.h"
#include "tools/lab/Gatekeeper.h"
#include "tools/lab/TemporaryFolder.h"

namespace lab {

// One thread. Everything ends when it is destroyed, the daemon by SIGTERM.
class ModuleSetup {
 public:
    struct Options {
        std::string daemon = {};                  // path; empty: DaemonProcess::Find
        int slots = 100;                          // for which RTP ports are kept free
        UWORD rtpBase = 0;                        // 0: a free range
        ULONG hostAddress = 0x7F000002;           // 127.0.0.2
        std::vector<std::string> arguments = {};  // more of them, behind ours
        Gatekeeper::Setup gatekeeper = {};
        int timeoutMs = 20000;  // for the registration
    };

    // A module that runs already, at its control port.
    struct Running {
        SockAddr control;
        UWORD rtpBase = 6300;
        ULONG mediaAddress = 0;  // of its legs as seen from here; 0: worked out from `control`
    };

    ModuleSetup() = default;

    // Starts everything; false with the reason in `error`, the daemon's last words included.
    bool Start(const Options& options, std::string& error);
    bool Use(const Running& running, std::string& error);

    ControlClient& Control() { return control; }
    // Both only after Start.
    Gatekeeper& Registrar() { return gatekeeper; }
    DaemonProcess& Daemon() { return *daemon; }
    bool OwnsDaemon() const { return daemon != nullptr; }
    const std::string& Root() const { return root->Path(); }

    UWORD RtpBase() const { return rtpBase; }
    // The RTP port of a channel's leg, at the address by which it speaks to this host.
    SockAddr Leg(UWORD chan) const { return {mediaAddress, static_cast<UWORD>(rtpBase + 2 * chan)}; }
    // The address of this host that the module can reach.
    ULONG OwnAddress() const { return ownAddress; }

    // Stops the daemon now; its exit status.
    int Stop();

 private:
    // The control channel of the module once it has registered; nothing when it ends before or takes longer.
    std::optional<SockAddr> WaitRegistered(int ms) const;
    std::string LastWords() const;

    std::unique_ptr<TemporaryFolder> root;
    Gatekeeper gatekeeper;
    std::unique_ptr<DaemonProcess> daemon;
    ControlClient control;
    UWORD rtpBase = 0;
    ULONG mediaAddress = 0;
    ULONG ownAddress = 0;
};

}  // namespace lab
