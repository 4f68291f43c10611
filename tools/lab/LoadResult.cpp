#include "tools/lab/LoadResult.h"

#include <algorithm>

#include "tools/lab/TextTable.h"

namespace lab {

namespace {

constexpr double BytesPerMb = 1024.0 * 1024.0;
constexpr const char* Arrows[] = {"internal -> external", "external -> internal"};
constexpr const char* Keys[] = {"internalToExternal", "externalToInternal"};

nlohmann::json ToJson(const DelaySummary& delay) {
    return {{"packets", delay.count}, {"minMs", delay.minMs}, {"meanMs", delay.meanMs},
            {"p50Ms", delay.p50Ms},   {"p99Ms", delay.p99Ms}, {"maxMs", delay.maxMs}};
}

nlohmann::json ToJson(const DirectionResult& direction) {
    return {{"sent", direction.sent},
            {"expected", direction.expected},
            {"received", direction.received},
            {"lost", direction.lost},
            {"lossPercent", direction.LossPercent()},
            {"slotsWithLoss", direction.slotsWithLoss},
            {"outOfOrder", direction.late},
            {"duplicates", direction.duplicates},
            {"refused", direction.refused},
            {"pauses", direction.pauses},
            {"slips", direction.slips},
            {"unmeasured", direction.unmeasured},
            {"delay", ToJson(direction.delays.Summarise())},
            {"jitterMs", {{"mean", direction.jitterMeanMs}, {"max", direction.jitterMaxMs}}}};
}

nlohmann::json ToJson(const LegSettings& leg) {
    return {{"codec", CodecName(leg.codec)},
            {"packetMs", leg.packetMs},
            {"srtp", !leg.srtp                        ? "none"
                     : *leg.srtp == SrtpKeys::Sha1_32 ? "32"
                                                      : "80"}};
}

nlohmann::json ToJson(const LoadResult& result, const ProcessCost& process) {
    nlohmann::json json{{"cpuPerSecond", process.cpuPerSecond},
                        {"cpuPerSecondAndSlot", process.cpuPerSecond / result.options.slots},
                        {"rssBytes", process.rssBytes},
                        {"threads", process.threads.Total().threads},
                        {"descriptors", process.descriptors}};
    for (const ThreadUsage::Role role : {ThreadUsage::Relay, ThreadUsage::Module, ThreadUsage::Other}) {
        const double cpu = process.CpuPerSecond(role);
        json["roles"][ThreadUsage::Name(role)] = {{"cpuPerSecond", cpu},
                                                  {"cpuPerSecondAndSlot", cpu / result.options.slots},
                                                  {"threads", process.threads.shares[role].threads}};
    }
    const auto [voluntary, involuntary] = result.SwitchesPerPacket();
    json["switchesPerPacket"] = {{"voluntary", voluntary}, {"involuntary", involuntary}};
    return json;
}

std::string ToText(const LoadResult& result, const ProcessCost& process) {
    const auto share = [&](double cpu) {
        return Decimal(cpu, 3) + " CPU s a second, " + Decimal(1000 * cpu / result.options.slots, 2) +
               " ms a slot and second";
    };
    std::string text = "Process    " + share(process.cpuPerSecond) + "; " +
                       Decimal(static_cast<double>(process.rssBytes) / BytesPerMb, 1) + " MB resident; " +
                       std::to_string(process.threads.Total().threads) + " threads, " +
                       std::to_string(process.descriptors) + " descriptors\n";
    for (const ThreadUsage::Role role : {ThreadUsage::Relay, ThreadUsage::Module, ThreadUsage::Other}) {
        const int threads = process.threads.shares[role].threads;
        if (threads == 0) continue;
        text += "  " + std::string(ThreadUsage::Name(role)) +
                std::string(9 - std::char_traits<char>::length(ThreadUsage::Name(role)), ' ') +
                share(process.CpuPerSecond(role)) + "; " + std::to_string(threads) + " threads\n";
    }
    const auto [voluntary, involuntary] = result.SwitchesPerPacket();
    return text + "           " + Decimal(voluntary, 3) + " voluntary and " + Decimal(involuntary, 3) +
           " involuntary context switches a packet\n";
}

std::string ToText(const ControlAnswers& control) {
    std::string text = "Control    answered in p50 " + Decimal(control.time.p50Ms, 2) + " ms, p99 " +
                       Decimal(control.time.p99Ms, 2) + " ms, max " + Decimal(control.time.maxMs, 2) +
                       " ms, " + Number(control.time.count) + " requests";
    if (control.missing > 0) text += "; " + Number(control.missing) + " more had no answer";
    return text + "\n";
}

std::string ToText(const std::vector<PhaseResult>& phases) {
    if (phases.empty()) return {};
    TextTable table(
        {"overload", "seconds", "expected", "lost", "loss %", "worst slot %", "p50 ms", "p99 ms", "max ms"});
    for (const PhaseResult& phase : phases) {
        const bool timed = phase.delay.count > 0;
        table.Add({phase.name, Decimal(phase.seconds, 1), Number(phase.expected), Number(phase.lost),
                   Decimal(phase.LossPercent(), 3), Decimal(phase.worstLossPercent, 3),
                   timed ? Decimal(phase.delay.p50Ms, 2) : "-", timed ? Decimal(phase.delay.p99Ms, 2) : "-",
                   timed ? Decimal(phase.delay.maxMs, 2) : "-"});
    }
    return "\n" + table.ToText() +
           "After begins two seconds behind the end of the overload. Where audio was lost, G.729 shows its "
           "delay only in "
           "the first and the last two seconds.\n\n";
}

std::string Irregularities(const DirectionResult& direction) {
    const struct {
        std::uint64_t count;
        const char* meaning;
    } rows[] = {{direction.pauses, "pauses over which the time stamps jumped"},
                {direction.slips, "slips of audio inside the target"},
                {direction.unmeasured, "packets without a delay"},
                {direction.duplicates, "duplicates"},
                {direction.refused, "refused"}};
    std::string text;
    for (const auto& row : rows) {
        if (row.count == 0) continue;
        text += (text.empty() ? "" : ", ") + Number(row.count) + " " + row.meaning;
    }
    return text;
}

}  // namespace

double LoadResult::LossPercent() const {
    const std::uint64_t expected = directions[0].expected + directions[1].expected;
    return expected == 0 ? 0
                         : 100.0 * static_cast<double>(directions[0].lost + directions[1].lost) / expected;
}

DelaySummary LoadResult::Delay() const {
    DelayStatistics all;
    for (const DirectionResult& direction : directions) all.Add(direction.delays);
    return all.Summarise();
}

std::array<double, 2> LoadResult::SwitchesPerPacket() const {
    const auto packets =
        static_cast<double>(std::max<std::uint64_t>(1, directions[0].sent + directions[1].sent));
    if (!process) return {};
    const ThreadUsage::Share total = process->threads.Total();
    return {static_cast<double>(total.voluntary) / packets, static_cast<double>(total.involuntary) / packets};
}

double LoadResult::JudgedLossPercent() const {
    if (phases.empty()) return LossPercent();
    return std::max(phases.front().LossPercent(), phases.back().LossPercent());
}

double LoadResult::JudgedP99Ms() const {
    if (phases.empty()) return Delay().p99Ms;
    return std::max(phases.front().delay.p99Ms, phases.back().delay.p99Ms);
}

nlohmann::json LoadResult::ToJson() const {
    nlohmann::json json{{"slots", options.slots},
                        {"seconds", seconds},
                        {"internal", lab::ToJson(options.legs[0])},
                        {"external", lab::ToJson(options.legs[1])},
                        {"lossPercent", LossPercent()},
                        {"delay", lab::ToJson(Delay())}};
    for (int side = 0; side < 2; ++side) json[Keys[side]] = lab::ToJson(directions[side]);
    json["generator"] = {{"lateness", lab::ToJson(generator.lateness)},
                         {"stalls", generator.stalls},
                         {"ownDrops", generator.ownDrops},
                         {"targetDrops", generator.targetDrops},
                         {"sendErrors", generator.sendErrors},
                         {"cpuPerSecond", generator.cpuPerSecond}};
    json["control"] = {{"answer", lab::ToJson(control.time)}, {"missing", control.missing}};
    if (process) json["process"] = lab::ToJson(*this, *process);
    if (phases.empty()) return json;
    json["overload"] = {{"slots", options.overload}, {"seconds", options.overloadSeconds}};
    for (const PhaseResult& phase : phases) json["overload"]["phases"].push_back(phase.ToJson());
    return json;
}

std::string LoadResult::ToText() const {
    TextTable table(
        {"direction", "sent", "received", "lost", "late", "p50 ms", "p99 ms", "max ms", "jitter ms"});
    for (int side = 0; side < 2; ++side) {
        const DirectionResult& direction = directions[side];
        const DelaySummary delay = direction.delays.Summarise();
        table.Add({Arrows[side], Number(direction.sent), Number(direction.received), Number(direction.lost),
                   Number(direction.late), Decimal(delay.p50Ms, 2), Decimal(delay.p99Ms, 2),
                   Decimal(delay.maxMs, 2), Decimal(direction.jitterMaxMs, 2)});
    }
    std::string text = table.ToText();
    text += "Delay is what the target adds; jitter is the worst of any slot (RFC 3550).\n\n";
    text += lab::ToText(phases);
    if (process) text += lab::ToText(*this, *process);
    text += lab::ToText(control);
    text += "Generator  " + Decimal(generator.cpuPerSecond, 3) + " CPU s a second; sent late by p99 " +
            Decimal(generator.lateness.p99Ms, 2) + " ms, max " + Decimal(generator.lateness.maxMs, 2) +
            " ms\n";
    if (generator.stalls > 0) {
        text += "Warning    the generator stalled " + Number(generator.stalls) +
                " times: this machine is too slow or too busy for the load, and the figures are not the "
                "target's alone\n";
    }
    if (generator.ownDrops > 0) {
        text += "Warning    the generator's own sockets dropped " + Number(generator.ownDrops) +
                " packets: not all loss is the target's\n";
    }
    if (generator.targetDrops > 0)
        text += "           " + Number(generator.targetDrops) + " packets overflowed the target's sockets\n";
    for (int side = 0; side < 2; ++side) {
        const DirectionResult& direction = directions[side];
        const std::string irregular = Irregularities(direction);
        if (!irregular.empty()) text += std::string(Arrows[side]) + ": " + irregular + "\n";
    }
    return text;
}

}  // namespace lab
