#include "tools/lab/LoadResult.h"

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

std::string Irregularities(const DirectionResult& direction) {
    const struct {
        std::uint64_t count;
        const char* meaning;
    } rows[] = {{direction.pauses, "pauses over which the module's time stamps jumped"},
                {direction.slips, "slips of audio inside the module"},
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
                         {"moduleDrops", generator.moduleDrops},
                         {"sendErrors", generator.sendErrors},
                         {"cpuPerSecond", generator.cpuPerSecond}};
    if (daemon) {
        json["daemon"] = {{"cpuPerSecond", daemon->cpuPerSecond},
                          {"cpuPerSecondAndSlot", daemon->cpuPerSecond / options.slots},
                          {"rssBytes", daemon->rssBytes},
                          {"threads", daemon->threads},
                          {"descriptors", daemon->descriptors}};
    }
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
    text += "Delay is what the module adds; jitter is the worst of any slot (RFC 3550).\n\n";
    if (daemon) {
        text += "Daemon     " + Decimal(daemon->cpuPerSecond, 3) + " CPU s a second, " +
                Decimal(1000 * daemon->cpuPerSecond / options.slots, 2) + " ms a slot and second; " +
                Decimal(static_cast<double>(daemon->rssBytes) / BytesPerMb, 1) + " MB resident; " +
                std::to_string(daemon->threads) + " threads, " + std::to_string(daemon->descriptors) +
                " descriptors\n";
    }
    text += "Generator  " + Decimal(generator.cpuPerSecond, 3) + " CPU s a second; sent late by p99 " +
            Decimal(generator.lateness.p99Ms, 2) + " ms, max " + Decimal(generator.lateness.maxMs, 2) +
            " ms\n";
    if (generator.stalls > 0) {
        text += "Warning    the generator stalled " + Number(generator.stalls) +
                " times: this machine is too slow or too busy for the load, and the figures are not the "
                "module's alone\n";
    }
    if (generator.ownDrops > 0) {
        text += "Warning    the generator's own sockets dropped " + Number(generator.ownDrops) +
                " packets: not all loss is the module's\n";
    }
    if (generator.moduleDrops > 0)
        text += "           " + Number(generator.moduleDrops) + " packets overflowed the module's sockets\n";
    for (int side = 0; side < 2; ++side) {
        const DirectionResult& direction = directions[side];
        const std::string irregular = Irregularities(direction);
        if (!irregular.empty()) text += std::string(Arrows[side]) + ": " + irregular + "\n";
    }
    return text;
}

}  // namespace lab
