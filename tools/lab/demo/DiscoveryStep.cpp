// Starts the module and checks that it finds its gatekeeper and registers.
#include "tools/lab/demo/DiscoveryStep.h"

#include <algorithm>
#include <fstream>

#include "tools/lab/demo/Machine.h"
#include "tools/lab/demo/ResourcesLine.h"
#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr int Slots = 8;
constexpr UWORD UnknownChannel = 98;
constexpr int LogPatienceMs = 2000;
constexpr double UsualStartSeconds = 5;
constexpr ULONG UsualQuantity = 500;
constexpr double ResourcesPatienceSeconds = 3;
constexpr int SocketsAtRest = 3;  // discovery, registration, control

// The module has a name where the machine has an interface with a MAC address.
void CheckAlias(const std::string& alias, ReportSection& section) {
    const std::vector<std::string> macs = Machine::MacAddresses();
    const bool known = std::any_of(macs.begin(), macs.end(), [&](const std::string& mac) {
        return alias == "KestrelCompressor " + mac;
    });
    section.Add({"alias",
                 macs.empty() ? "none, as no interface has a MAC address"
                              : "KestrelCompressor and a MAC address of this machine",
                 alias.empty() ? "none" : alias, macs.empty() ? alias.empty() : known});
}

}  // namespace

std::string DiscoveryStep::Intro() const {
    return "A gatekeeper is started on this machine, then the daemon as a child process with a temporary "
           "root. The module is to find the gatekeeper, register with it, and answer requests at the port "
           "that it registered.";
}

bool DiscoveryStep::Run(DemoRun& run, ReportSection& section) {
    std::string error;
    run.Wait(0, "gatekeeper and daemon");
    const double before = run.Seconds();
    const bool started = run.Module().Start({.daemon = run.DaemonPath(), .slots = Slots}, error);
    const double took = run.Seconds() - before;
    section.Add({"module registers with the gatekeeper",
                 Format("within %.0f s of its start", UsualStartSeconds),
                 started ? Format("%.1f s", took) : error, started && took <= UsualStartSeconds});
    if (!started) return false;
    const unsigned asked = run.Module().Registrar().CountOf(Gatekeeper::Event::Discovery);
    section.Add({"gatekeeper is asked for before", "1 request or more", Format("%u", asked), asked >= 1});
    const auto registered = run.Module().Registrar().WaitModule(0);
    if (!registered) return false;
    CheckRegistration(*registered, run, section);
    CheckControl(run, section);
    CheckResources(run, section);
    return run.Wait(0, "");
}

void DiscoveryStep::CheckRegistration(const Gatekeeper::Module& registered, DemoRun& run,
                                      ReportSection& section) {
    CheckAlias(registered.alias, section);
    section.Add({"product and version", "Kestrelon Compressor, TQ 1.3(117)",
                 registered.product + ", " + registered.version,
                 registered.product == "Kestrelon Compressor" && registered.version == "TQ 1.3(117)"});
    const h323::ModuleData data = registered.data.value_or(h323::ModuleData{});
    section.Add({"RTP port base in the registration",
                 Format("%u, as given by -rtpbase", run.Module().RtpBase()),
                 Format("%u", data.compressionBase), data.compressionBase == run.Module().RtpBase()});
    section.Add({"channels in the registration",
                 Format("%lu that transcode, 0 that only relay", static_cast<unsigned long>(UsualQuantity)),
                 Format("%lu, %lu", static_cast<unsigned long>(data.compressionQuantity),
                        static_cast<unsigned long>(data.relayQuantity)),
                 data.compressionQuantity == UsualQuantity && data.relayQuantity == 0});
    std::ifstream file(run.Module().Root() + "/compressor.pid");
    long pid = 0;
    file >> pid;
    section.Add({"pid file under the root", Format("%d", run.Module().Daemon().Pid()), Format("%ld", pid),
                 pid == run.Module().Daemon().Pid()});
}

void DiscoveryStep::CheckControl(DemoRun& run, ReportSection& section) {
    ControlClient& control = run.Module().Control();
    ControlDatagram request;
    request.event = ControlEvent::Unmap;
    request.chan = UnknownChannel;
    const ControlClient::Reply reply = control.Send(request);
    section.Add({"request for a channel that is not there", "acknowledged by its sequence number",
                 reply.Words(), reply.outcome == ControlClient::Outcome::Acknowledged});
    const std::string words = Format("OnUnmap - channel %u not found!", UnknownChannel);
    const bool logged = run.Module().Daemon().WaitLine(words, LogPatienceMs).has_value();
    section.Add({"and named in the log", words, logged ? "found" : "not in the log", logged});
}

// What the module holds before its first call is what it must come back to after the last one.
void DiscoveryStep::CheckResources(DemoRun& run, ReportSection& section) {
    std::optional<ResourcesLine> resources;
    const bool ready = run.WaitUntil(ResourcesPatienceSeconds, "the module's resources", [&] {
        for (const std::string& line : run.Module().Daemon().Lines())
            if (const auto parsed = ResourcesLine::Parse(line)) resources = parsed;
        return resources && resources->asyncSockets >= SocketsAtRest;
    });
    section.Add({"pools and sockets of the module at rest", "sockets open, no slot",
                 resources ? resources->Words() : "no line", ready && resources->slots == 0});
}

}  // namespace lab
