#include "app/Process.h"

#include <pthread.h>

#include <bit>
#include <cstdio>

#include "app/Compressor/Discovery.h"
#include "app/Globals.h"
#include "app/HardwareDetection.h"
#include "app/MainConsole.h"
#include "app/Options.h"
#include "app/PidFile.h"
#include "app/ResourceLimits.h"
#include "app/ResourceReport.h"
#include "app/Signals.h"
#include "app/Startup.h"
#include "app/StartupPrint.h"
#include "app/version.h"
#include "platform/h323/H323Init.h"
#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/Clock.h"
#include "platform/media/RTPEndPoint.h"

namespace {

constexpr ULONG PrimaryInterface = ~ULONG{0};
constexpr std::uint64_t SecondUs = 1000000;

// Everything that needs neither library.
void Prepare() {
    WritePidFile();
    StartupPrint("%s\n\n", product_version);
    DetectCompressionHardware();
    RaiseResourceLimits();
    InstallSignalHandlers();
}

// A second, or less when the process is asked to end. SIGHUP is served even when nothing is printed.
void Pause() {
    const std::uint64_t end = os_clock_us() + SecondUs;
    for (std::uint64_t now = os_clock_us(); now < end && !TerminationRequested(); now = os_clock_us()) {
        WaitForSignal(static_cast<std::int64_t>(end - now));
        static_cast<MainConsole*>(Console)->ReopenIfAsked();
    }
}

void WaitForAddress() {
    Console->Print("Waiting for IP Address.....");
    do {
        Pause();
    } while (!TerminationRequested() && AsyncSocket::LookupIface(PrimaryInterface) == 0);
}

void StartModule(const Options& options) {
    const TerminationBlock blocked;
    if (real_hardware) RtpSetRealTimeAudio();
    H323Init("Kestrelon Compressor", ProductVersionNumber(), 2);
    static Discovery& discovery = *new Discovery(options.gkAddress, options.gkPort);  // never destroyed
    theDiscovery = &discovery;
    Console->Print("Main process %p\n", std::bit_cast<void*>(pthread_self()));
    fflush(stdout);
}

void RunMainLoop() {
    ResourceReport report;
    while (!TerminationRequested()) {
        report.Pass();
        Pause();
    }
}

void Shutdown() {
    Console->Print("Main process cleaning up...");
    fflush(stdout);
    if (theDiscovery != nullptr) {
        theDiscovery->Stop();
        theDiscovery = nullptr;
    }
    Cleanup();
    StartupPrint("Bye bye....");
}

}  // namespace

int RunMain(int argc, char** argv) {
    ProbeHardware();
    Options options;
    if (const std::optional<int> status = options.Read(argc, argv)) return *status;
    Prepare();
    {
        const TerminationBlock blocked;
        Startup();
    }
    WaitForAddress();
    if (!TerminationRequested()) StartModule(options);
    RunMainLoop();
    Shutdown();
    return 0;
}
