// What a load run has measured.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <optional>

#include "tools/lab/ControlProbe.h"
#include "tools/lab/DelayStatistics.h"
#include "tools/lab/LoadOptions.h"
#include "tools/lab/LoadPhases.h"
#include "tools/lab/ProcessMeter.h"

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

// Whether the generator itself can be believed.
struct GeneratorHealth {
    DelaySummary lateness;          // of sending against the ideal clock
    std::uint64_t stalls = 0;       // times it was so late that it went on at the usual pace, with a gap
    std::uint64_t ownDrops = 0;     // packets that the kernel dropped at our own sockets
    std::uint64_t targetDrops = 0;  // and at the target's
    std::uint64_t sendErrors = 0;
    double cpuPerSecond = 0;
};

struct LoadResult {
    LoadOptions options;
    std::array<DirectionResult, 2> directions;  // by the side that spoke
    std::optional<ProcessCost> process;         // the target's, where it is known
    ControlAnswers control;
    GeneratorHealth generator;
    std::vector<PhaseResult> phases;  // of a run with an overload
    double seconds = 0;               // that audio was sent

    double LossPercent() const;
    // Of both directions together.
    DelaySummary Delay() const;
    // Context switches of the target for a packet that was sent to it: voluntary, involuntary.
    std::array<double, 2> SwitchesPerPacket() const;
    // The worst phase but that of the overload, or the whole run where there was none: what limits are for.
    double JudgedLossPercent() const;
    double JudgedP99Ms() const;
    nlohmann::json ToJson() const;
    // A table for people.
    std::string ToText() const;
};

}  // namespace lab
