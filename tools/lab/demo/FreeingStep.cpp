// Frees every slot in the middle of its calls.
#include "tools/lab/demo/FreeingStep.h"

#include <cstdio>

#include "tools/lab/demo/Text.h"
#include "tools/lab/demo/TranscodedCallStep.h"

namespace lab {

namespace {

constexpr double BusySeconds = 0.5;
constexpr double QuietSeconds = 0.5;
constexpr double ByePatienceSeconds = 1;
constexpr double ReportPatienceSeconds = 4;
constexpr int FullRate = 50;  // packets per second of 20 ms each
constexpr double StatisticsPatienceSeconds = 11;

struct StatsLine {
    int rx = 0;
    int tx = 0;
    int discards = 0;
    int delay = 0;
};

// The statistics of a leg that was busy for the whole ten seconds of a line, if there is such a line.
std::optional<StatsLine> FullStats(const std::vector<std::string>& lines, UWORD chan) {
    std::optional<StatsLine> best;
    for (const std::string& line : lines) {
        const size_t at = line.find("Stats: ");
        int number = -1;
        StatsLine stats;
        if (at == std::string::npos ||
            std::sscanf(line.c_str() + at,
                        "Stats: %d - rx %d, tx %d, confq %*dms, rtp rxlen %*dms, tx discards (%*d, %*d), rx "
                        "discards %d, avg delay %dms",
                        &number, &stats.rx, &stats.tx, &stats.discards, &stats.delay) != 5)
            continue;
        if (number == chan && (!best || stats.rx > best->rx)) best = stats;
    }
    return best;
}

std::uint64_t TotalReceived(DemoRun& run) {
    std::uint64_t total = 0;
    for (DemoLeg& leg : run.Legs()) total += leg.Peer().Counts().packets;
    return total;
}

}  // namespace

std::string FreeingStep::Intro() const {
    return "All slots are freed while their far ends are still talking. The module is to say goodbye (RTCP "
           "BYE), send nothing more, leave its ports to others, and have all its buffers back.";
}

bool FreeingStep::Run(DemoRun& run, ReportSection& section) {
    if (!run.Wait(BusySeconds, "every leg talks")) return false;
    CheckStatistics(run, section);
    FreeAll(run, section);
    if (!CheckSilence(run, section)) return false;
    CheckPorts(run, section);
    CheckForgeries(run, section);
    return CheckResources(run, section);
}

void FreeingStep::CheckStatistics(DemoRun& run, ReportSection& section) {
    const UWORD chan = TranscodedCallStep::InternalChannel;
    for (const UWORD one : {chan, static_cast<UWORD>(chan + 1)}) {
        std::optional<StatsLine> stats;
        run.WaitUntil(StatisticsPatienceSeconds, "the module's statistics", [&] {
            stats = FullStats(run.Module().Daemon().Lines(), one);
            return stats && stats->rx >= FullRate - 1;
        });
        const StatsLine seen = stats.value_or(StatsLine{});
        section.Add(
            {Format("the module's own statistics of channel %u", one),
             Format("%d packets a second both ways, none discarded", FullRate),
             stats ? Format("in %d, out %d, discarded %d, delay %d ms", seen.rx, seen.tx, seen.discards,
                            seen.delay)
                   : "no line",
             std::abs(seen.rx - FullRate) <= 1 && std::abs(seen.tx - FullRate) <= 1 && seen.discards == 0});
    }
}

void FreeingStep::FreeAll(DemoRun& run, ReportSection& section) {
    size_t slots = 0;
    size_t acknowledged = 0;
    for (DemoLeg& leg : run.Legs()) {
        if (leg.Chan() % 2 != 0) continue;
        ++slots;
        acknowledged += run.Module().Control().Free(leg.Chan());
    }
    section.Add({"slots are freed", Format("%zu acknowledged", slots), Format("%zu", acknowledged),
                 slots == acknowledged});
}

bool FreeingStep::CheckSilence(DemoRun& run, ReportSection& section) {
    std::string missing;
    run.WaitUntil(ByePatienceSeconds, "goodbyes", [&] {
        missing.clear();
        for (DemoLeg& leg : run.Legs())
            if (!leg.Peer().Reports().bye) missing += Format(" %u", leg.Chan());
        return missing.empty();
    });
    section.Add({"far ends that hear the BYE",
                 Format("all %zu, the protected one included", run.Legs().size()),
                 missing.empty() ? "all" : "not at channel" + missing, missing.empty()});
    const std::uint64_t before = TotalReceived(run);
    if (!run.Wait(QuietSeconds, "silence")) return false;
    const std::uint64_t after = TotalReceived(run) - before;
    section.Add({"packets from the module afterwards", "0", std::to_string(after), after == 0});
    for (DemoLeg& leg : run.Legs()) leg.Peer().Hush();
    return true;
}

void FreeingStep::CheckPorts(DemoRun& run, ReportSection& section) {
    size_t ports = 0;
    std::string taken;
    for (const DemoLeg& leg : run.Legs()) {
        const SockAddr rtp = run.Module().Leg(leg.Chan());
        for (const UWORD offset : {UWORD{0}, UWORD{1}}) {
            const SockAddr port(rtp.Address(), rtp.Port() + offset);
            UdpSocket socket;
            std::string error;
            ++ports;
            if (!socket.Open(port, error)) taken += Format(" %u", port.Port());
        }
    }
    section.Add({"RTP and RTCP ports of the freed legs", Format("all %zu can be opened by others", ports),
                 taken.empty() ? "all can" : "taken:" + taken, taken.empty()});
}

void FreeingStep::CheckForgeries(DemoRun& run, ReportSection& section) const {
    // The lines of one slot: its request, then the statistics of the internal and of the external side.
    size_t from = 0;
    DaemonProcess& daemon = run.Module().Daemon();
    daemon.WaitLine(Format("OnFreeChan - chan %u", SrtpCallStep::InternalChannel), 0, from);
    daemon.WaitLine("OnFreeChan - RTP Stats:", 0, from);
    const std::string line = daemon.WaitLine("OnFreeChan - RTP Stats:", 0, from).value_or("");
    const size_t at = line.find("dropped pkt ");
    size_t dropped = 0;
    if (at != std::string::npos) std::sscanf(line.c_str() + at, "dropped pkt %zu", &dropped);
    section.Add({"packets that the protected leg counts as dropped",
                 Format("%zu, the forged ones", srtp.Forged()), Format("%zu", dropped),
                 srtp.Forged() > 0 && dropped == srtp.Forged()});
}

bool FreeingStep::CheckResources(DemoRun& run, ReportSection& section) {
    // The state to return to is the last one before the first slot.
    std::optional<ResourcesLine> before;
    std::optional<ResourcesLine> after;
    const bool back = run.WaitUntil(ReportPatienceSeconds, "the module's resources", [&] {
        bool busy = false;
        for (const std::string& line : run.Module().Daemon().Lines()) {
            const auto resources = ResourcesLine::Parse(line);
            if (!resources) continue;
            busy = busy || resources->slots > 0;
            if (!busy) before = resources;
            after = resources;
        }
        return before && *after == *before;
    });
    section.Add({"pools and sockets of the module",
                 before ? "as before: " + before->Words() : "a line before the first call",
                 after ? after->Words() : "no line", back});
    const size_t leaks = run.Module().Daemon().CountLines("BufLeak:");
    section.Add({"buffers held for half a minute (BufLeak lines)", "0", Format("%zu", leaks), leaks == 0});
    return run.Wait(0, "");
}

}  // namespace lab
