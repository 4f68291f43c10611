// A load run with an overload in its middle, looked at before, during and after it.
//
// Packets are counted at five instants: a second after the start, when the overload begins, when it ends, two
// seconds later, and at the end. At each of them every tick of the last 60 ms is looked at, and what was open
// at the emptiest is taken for lost so far: the rest was under way. Where the target holds speech back for
// longer than a packet time, as under an overload, that part of it counts as lost in this stretch, and as
// come in the next.
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
    // Whether Take must be called now.
    bool IsDue(std::int64_t nowNs) const {
        return taken.size() < due && nowNs >= instants[taken.size()] - LookNs;
    }
    // Every direction of every slot, in the same order each time.
    void Take(std::int64_t nowNs, const std::vector<Count>& counts);
    void OnDelay(std::int64_t arrivalNs, std::int64_t us);

    // Those that were seen from beginning to end.
    std::vector<PhaseResult> Results() const;

 private:
    static constexpr std::int64_t LookNs = 60'000'000;

    struct Phase;
    static const std::array<Phase, 3> Phases;

    std::array<std::int64_t, 5> instants{};
    std::size_t due = 0;
    std::vector<Count> looking;  // at the instant that is due
    std::vector<std::vector<Count>> taken;
    std::array<DelayStatistics, 3> delays;
};

}  // namespace lab
