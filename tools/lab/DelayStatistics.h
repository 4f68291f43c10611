// A heap of measured delays and what can be said about it.
#pragma once

#include <cstdint>
#include <vector>

namespace lab {

struct DelaySummary {
    std::size_t count = 0;  // all else is 0 when this is
    double minMs = 0;
    double meanMs = 0;
    double p50Ms = 0;
    double p99Ms = 0;
    double maxMs = 0;
};

class DelayStatistics {
 public:
    void Add(std::int64_t microseconds) { values.push_back(static_cast<std::int32_t>(microseconds)); }
    void Add(const DelayStatistics& other);
    DelaySummary Summarise() const;

    // The smallest value that at least `percent` of all values do not exceed (nearest rank) [ms]; 0 without
    // values.
    double PercentileMs(double percent) const;
    // Microseconds, in the order of measurement.
    const std::vector<std::int32_t>& Values() const { return values; }

 private:
    std::vector<std::int32_t> values;
};

}  // namespace lab
