#include "tools/lab/LoadPhases.h"

#include <algorithm>
#include <utility>

namespace lab {

namespace {
constexpr std::int64_t NsPerSecond = 1'000'000'000;
constexpr std::int64_t SettleNs = NsPerSecond;
constexpr std::int64_t RecoveryNs = 2 * NsPerSecond;
constexpr std::int64_t EndNs = NsPerSecond / 20;  // before the last packets, so that the flow is still whole

double Percent(std::uint64_t part, std::uint64_t whole) {
    return whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}
}  // namespace

// From one instant to the next.
struct LoadPhases::Phase {
    const char* name;
    std::size_t begin;
};

const std::array<LoadPhases::Phase, 3> LoadPhases::Phases{{{"before", 0}, {"during", 1}, {"after", 3}}};

LoadPhases::LoadPhases(const LoadOptions& options, std::int64_t startNs) {
    const std::int64_t whole = options.seconds * NsPerSecond;
    const std::int64_t overload = options.overloadSeconds * NsPerSecond;
    const std::int64_t begin = (whole - overload) / 2;
    instants = {SettleNs, begin, begin + overload, begin + overload + RecoveryNs, whole - EndNs};
    for (std::int64_t& instant : instants) instant += startNs;
    due = options.overload > 0 ? instants.size() : 0;
}

void LoadPhases::Take(std::int64_t nowNs, const std::vector<Count>& counts) {
    if (looking.empty()) looking = counts;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const Count before = looking[i];
        const auto open = std::min<std::int64_t>(before.expected - before.received,
                                                 counts[i].expected - counts[i].received);
        looking[i] = {counts[i].expected, counts[i].expected - static_cast<std::uint64_t>(open)};
    }
    if (nowNs >= instants[taken.size()]) taken.push_back(std::exchange(looking, {}));
}

void LoadPhases::OnDelay(std::int64_t arrivalNs, std::int64_t us) {
    if (due == 0) return;
    for (std::size_t i = 0; i < Phases.size(); ++i) {
        if (arrivalNs >= instants[Phases[i].begin] && arrivalNs < instants[Phases[i].begin + 1])
            delays[i].Add(us);
    }
}

std::vector<PhaseResult> LoadPhases::Results() const {
    std::vector<PhaseResult> results;
    for (std::size_t i = 0; i < Phases.size() && Phases[i].begin + 1 < taken.size(); ++i) {
        const std::size_t begin = Phases[i].begin;
        PhaseResult result;
        result.name = Phases[i].name;
        result.seconds = static_cast<double>(instants[begin + 1] - instants[begin]) / NsPerSecond;
        result.delay = delays[i].Summarise();
        for (std::size_t leg = 0; leg < taken[begin].size(); ++leg) {
            const std::uint64_t expected = taken[begin + 1][leg].expected - taken[begin][leg].expected;
            const std::uint64_t received = taken[begin + 1][leg].received - taken[begin][leg].received;
            const std::uint64_t lost = expected > received ? expected - received : 0;
            result.expected += expected;
            result.lost += lost;
            result.worstLossPercent = std::max(result.worstLossPercent, Percent(lost, expected));
        }
        results.push_back(result);
    }
    return results;
}

nlohmann::json PhaseResult::ToJson() const {
    return {
        {"name", name},
        {"seconds", seconds},
        {"expected", expected},
        {"lost", lost},
        {"lossPercent", LossPercent()},
        {"worstLossPercent", worstLossPercent},
        {"delay",
         {{"packets", delay.count}, {"p50Ms", delay.p50Ms}, {"p99Ms", delay.p99Ms}, {"maxMs", delay.maxMs}}}};
}

}  // namespace lab
