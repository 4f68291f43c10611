#include "tools/lab/DelayStatistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace lab {

namespace {
constexpr double UsPerMs = 1000.0;

// Of a sorted heap that is not empty.
double NearestRankMs(const std::vector<std::int32_t>& sorted, double percent) {
    const double rank = std::ceil(percent / 100.0 * static_cast<double>(sorted.size()));
    const auto index = static_cast<std::size_t>(std::max(rank, 1.0)) - 1;
    return sorted[std::min(index, sorted.size() - 1)] / UsPerMs;
}

std::vector<std::int32_t> Sorted(std::vector<std::int32_t> values) {
    std::sort(values.begin(), values.end());
    return values;
}
}  // namespace

void DelayStatistics::Add(const DelayStatistics& other) {
    values.insert(values.end(), other.values.begin(), other.values.end());
}

DelaySummary DelayStatistics::Summarise() const {
    if (values.empty()) return {};
    const std::vector<std::int32_t> sorted = Sorted(values);
    const double sum = std::accumulate(sorted.begin(), sorted.end(), 0.0);
    return {.count = sorted.size(),
            .minMs = sorted.front() / UsPerMs,
            .meanMs = sum / static_cast<double>(sorted.size()) / UsPerMs,
            .p50Ms = NearestRankMs(sorted, 50),
            .p99Ms = NearestRankMs(sorted, 99),
            .maxMs = sorted.back() / UsPerMs};
}

double DelayStatistics::PercentileMs(double percent) const {
    return values.empty() ? 0 : NearestRankMs(Sorted(values), percent);
}

}  // namespace lab
