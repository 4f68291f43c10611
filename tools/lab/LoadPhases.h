// A load run with an overload in its middle, looked at before, during and after it.
//
// Packets are counted at five instants: a second after the start, when the overload begins, when it ends, two
// seconds later, and at the end. What is under way at an instant falls into the next stretch: some 40 ms of
// speech, and up to 200 ms of it when an overload ends.
#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "tools/lab/DelayStatistics.h"
#include "tools/lab/LoadOptions.h"

namespace lab {

struct PhaseResult {
    std::string name;
    double seconds = 0;
    std::uint64_t expected = 0;
    std::uint64_t lost = 0;
    double worstLossPercent = 0;  // of any direction of any slot
    DelaySummary delay;           // by the time of arrival; 0 packets where none could be measured

    double LossPercent() const { return expected == 0 ? 0 : 100.0 * static_cast<double>(lost) / expected; }
    nlohmann::json ToJson() const;
};

// One thread.
class LoadPhases {
 public:
    // One direction of one slot so far.
    struct Count {
        std::uint64_t expected;
        std::uint64_t received;
    };

    static constexpr int LeastSecondsAround = 8;  // of a run, beside those of the overload

    // Without an overload there are no phases.
    LoadPhases(const LoadOptions& options, std::int64_t startNs);

    // When the overload begins (WallNs).
    std::int64_t OverloadNs() const { return instants[1]; }
    // Whether an instant has come at which Take must be called.
    bool IsDue(std::int64_t nowNs) const { return taken.size() < due && nowNs >= instants[taken.size()]; }
    // Every direction of every slot, in the same order each time.
    void Take(std::vector<Count> counts) { taken.push_back(std::move(counts)); }
    void OnDelay(std::int64_t arrivalNs, std::int64_t us);

    // Those that were seen from beginning to end.
    std::vector<PhaseResult> Results() const;

 private:
    struct Phase;
    static const std::array<Phase, 3> Phases;

    std::array<std::int64_t, 5> instants{};
    std::size_t due = 0;
    std::vector<std::vector<Count>> taken;
    std::array<DelayStatistics, 3> delays;
};

}  // namespace lab
