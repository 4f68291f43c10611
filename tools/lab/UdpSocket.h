// A UDP socket of the lab, apart from the module's own socket layer, with arrival times taken by the kernel.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/kernel/SockAddr.h"

struct cmsghdr;
struct msghdr;

namespace lab {

// Nanoseconds of the wall clock, on which the kernel stamps arrivals.
std::int64_t WallNs();

// One thread at a time, except that SendTo is for any.
class UdpSocket {
 public:
    struct Arrival {
        std::vector<UBYTE> data;
        SockAddr from;
        std::int64_t atNs = 0;  // WallNs scale, when the kernel got it
    };

    UdpSocket() = default;
    ~UdpSocket() { Close(); }
    UdpSocket(UdpSocket&& other) noexcept;
    UdpSocket& operator=(UdpSocket&& other) noexcept;

    // Opens and binds; port 0 is chosen by the system. False with the reason in `error`. `share`: others may
    // bind it too.
    bool Open(const SockAddr& local, std::string& error, bool share = false);
    void Close();
    bool IsOpen() const { return fd >= 0; }
    int Descriptor() const { return fd; }
    SockAddr Local() const;

    // As much room for arrivals as the host grants, up to `bytes`.
    void SetReceiveRoom(int bytes);
    // Receives what is sent to `group` on the interface that carries `interfaceAddress`.
    bool Join(ULONG group, ULONG interfaceAddress);
    // An unreachable port at the far end shows as `refused` of the next Receive.
    void ReportRefusals();

    bool SendTo(std::span<const UBYTE> data, const SockAddr& to) const;
    // The next datagram, waiting `timeoutMs` at most (0: only what is there).
    std::optional<Arrival> Receive(int timeoutMs);
    bool refused = false;  // of the latest Receive

    // The kernel's arrival time in a message's control data; 0 when it has none.
    static std::int64_t ArrivalNs(msghdr& message);

 private:
    int fd = -1;
};

// An even port and the next one, bound together, as RTP and RTCP have it (RFC 3550, 11).
struct UdpPair {
    UdpSocket rtp;
    UdpSocket rtcp;

    // On ports chosen by the system; false with the reason in `error`.
    bool Open(ULONG address, std::string& error);
};

}  // namespace lab
