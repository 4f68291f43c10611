// The daemon on the telephony server's own hardware, as far as it can see: in a root folder of its own that
// holds the hardware's files, registered with a gatekeeper of the test's.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/ControlClient.h"
#include "tools/lab/DaemonProcess.h"
#include "tools/lab/Gatekeeper.h"
#include "tools/lab/TemporaryFolder.h"

class HardwareModule {
 public:
    static constexpr const char* ReportDevice = "/dev/rtpif_dtmf2";

    // Makes the folders and "/dev/button".
    HardwareModule();
    ~HardwareModule();
    HardwareModule(const HardwareModule&) = delete;
    HardwareModule& operator=(const HardwareModule&) = delete;

    // Why the system lets nobody have a root folder of its own; empty when it does.
    static std::string Refusal();

    // Of the file `name`, which the daemon sees at this path below its root.
    std::string Path(const std::string& name) const { return root.Path() + name; }
    void Write(const std::string& name, const std::string& content) const;
    std::string Read(const std::string& name) const;
    // The report device is a FIFO, into which Report writes.
    void MakeReportDevice();
    void Report(const std::string& lines);
    // Something for the daemon's environment.
    void Set(const std::string& variable) { environment.push_back(variable); }
    // The fault library comes with it.
    void SetFault(const std::string& variable);

    // Failures are gtest's.
    void Start(const std::vector<std::string>& arguments = {});
    void WaitRegistered();
    // Ends the daemon in order.
    void Stop();

    lab::DaemonProcess daemon;
    lab::Gatekeeper gatekeeper;
    lab::Gatekeeper::Module registered;
    lab::ControlClient control;
    UWORD rtpBase = 0;

 private:
    lab::TemporaryFolder root;
    std::vector<std::string> environment;
    int reports = -1;
};
