#include "tools/lab/ModuleChoice.h"

#include <cstdio>

#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {
constexpr int DefaultRtpBase = 6300;
}

void ModuleChoice::AddOptions(CLI::App& command) {
    CLI::Option* running =
        command
            .add_option(
                "--module", address,
                "Use the module whose control channel is at ADDR:PORT ('kestrel-lab gatekeeper' shows it)\n"
                "instead of starting a daemon")
            ->type_name("ADDR:PORT");
    command
        .add_option("--daemon", daemon,
                    "The daemon to start; by default the kestrel-compressor beside this program")
        ->type_name("PATH")
        ->excludes(running);
    command
        .add_option("--rtpbase", rtpBase,
                    "The module's first RTP port; by default 6300 with --module, else a range that is free")
        ->type_name("PORT")
        ->check(CLI::Range(2, 65000));
}

bool ModuleChoice::Prepare(ModuleSetup& module, int slots, FILE* progress, std::string& error) const {
    if (!address.empty()) {
        const std::optional<SockAddr> control = ParseSockAddr(address);
        if (control) {
            return module.Use({*control, static_cast<UWORD>(rtpBase != 0 ? rtpBase : DefaultRtpBase), 0},
                              error);
        }
        error = "'" + address + "' is no address and port such as 127.0.0.1:40000.";
        return false;
    }
    if (progress != nullptr) std::fprintf(progress, "Starting a gatekeeper and a daemon of our own...\n");
    ModuleSetup::Options options;
    options.daemon = daemon;
    options.slots = slots;
    options.rtpBase = static_cast<UWORD>(rtpBase);
    if (!module.Start(options, error)) return false;
    if (progress != nullptr) {
        std::fprintf(progress, "Module %s registered (pid %d): control channel %s, RTP ports from %u.\n",
                     module.Registrar().Modules().front().alias.c_str(), module.Daemon().Pid(),
                     ToText(module.Control().Module()).c_str(), module.RtpBase());
    }
    return true;
}

int Complain(const std::string& matter) {
    std::fprintf(stderr, "kestrel-lab: %s\n", matter.c_str());
    return 1;
}

}  // namespace lab
