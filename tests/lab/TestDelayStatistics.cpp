#include <gtest/gtest.h>

#include "tools/lab/DelayStatistics.h"

namespace lab {
namespace {

TEST(DelayStatistics, GivesPercentilesByNearestRank) {
    DelayStatistics delays;
    EXPECT_EQ(delays.Summarise().count, 0U);
    EXPECT_EQ(delays.PercentileMs(99), 0);
    for (int i = 1000; i >= 1; --i) delays.Add(i * 1000);  // 1 to 1000 ms
    const DelaySummary summary = delays.Summarise();
    EXPECT_EQ(summary.count, 1000U);
    EXPECT_DOUBLE_EQ(summary.minMs, 1);
    EXPECT_DOUBLE_EQ(summary.meanMs, 500.5);
    EXPECT_DOUBLE_EQ(summary.p50Ms, 500);
    EXPECT_DOUBLE_EQ(summary.p99Ms, 990);
    EXPECT_DOUBLE_EQ(summary.maxMs, 1000);
    EXPECT_DOUBLE_EQ(delays.PercentileMs(100), 1000);
    EXPECT_DOUBLE_EQ(delays.PercentileMs(0), 1);
}

TEST(DelayStatistics, JoinsHeapsAndKeepsNegativeValues) {
    DelayStatistics some;
    some.Add(-500);
    DelayStatistics more;
    more.Add(1500);
    some.Add(more);
    EXPECT_DOUBLE_EQ(some.Summarise().minMs, -0.5);
    EXPECT_DOUBLE_EQ(some.Summarise().p50Ms, -0.5);
    EXPECT_DOUBLE_EQ(some.Summarise().maxMs, 1.5);
}

}  // namespace
}  // namespace lab
