// What a load run has measured.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <optional>

#include "tools/lab/DelayStatistics.h"
#include "tools/lab/LoadOptions.h"

namespace lab {

// One direction of all slots together.
struct DirectionResult {
    std::uint64_t sent = 0;
    std::uint64_t expected = 0;  // to come out, by the samples that were sent
    std::uint64_t received = 0;
    std::uint64_t late = 0;  // out of order
    std::uint64_t duplicates = 0;
    std::uint64_t refused = 0;  // unauthentic, malformed or of a foreign payload type
    std::uint64_t lost = 0;     // summed over the slots: expected less received
    int slotsWithLoss = 0;
    std::uint64_t pauses = 0;    // times the module's time stamps jumped between neighbouring packets
    std::size_t slips = 0;       // see DelayMatcher
    std::size_t unmeasured = 0;  // packets without a delay
    DelayStatistics delays;
    double jitterMeanMs = 0;  // of the slots' worst jitter (RFC 3550, 6.4.1)
    double jitterMaxMs = 0;

    double LossPercent() const { return expected == 0 ? 0 : 100.0 * static_cast<double>(lost) / expected; }
};

// Of the daemon, where its process is known.
struct DaemonCost {
    double cpuPerSecond = 0;     // CPU seconds of user and system time a wall second
    std::uint64_t rssBytes = 0;  // the most seen while audio flowed
    int threads = 0;
    int descriptors = 0;
};

// Whether the generator itself can be believed.
struct GeneratorHealth {
    DelaySummary lateness;          // of sending against the ideal clock
    std::uint64_t stalls = 0;       // times it was so late that it went on at the usual pace, with a gap
    std::uint64_t ownDrops = 0;     // packets that the kernel dropped at our own sockets
    std::uint64_t moduleDrops = 0;  // and at the module's
    std::uint64_t sendErrors = 0;
    double cpuPerSecond = 0;
};

struct LoadResult {
    LoadOptions options;
    std::array<DirectionResult, 2> directions;  // by the side that spoke
    std::optional<DaemonCost> daemon;
    GeneratorHealth generator;
    double seconds = 0;  // that audio was sent

    double LossPercent() const;
    // Of both directions together.
    DelaySummary Delay() const;
    nlohmann::json ToJson() const;
    // A table for people.
    std::string ToText() const;
};

}  // namespace lab
