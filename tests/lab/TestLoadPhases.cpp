#include <gtest/gtest.h>

#include "tools/lab/LoadPhases.h"

namespace lab {
namespace {

constexpr std::int64_t Second = 1'000'000'000;

LoadOptions TwentySeconds(int overload) {
    LoadOptions options;
    options.slots = 1;
    options.seconds = 20;
    options.overload = overload;
    options.overloadSeconds = overload > 0 ? 10 : 0;
    return options;
}

// Two directions, 50 packets a second; the second loses half of them while the overload lasts (5 s to 15 s of
// 20 s).
TEST(LoadPhases, TellsBeforeDuringAndAfterApart) {
    LoadPhases phases(TwentySeconds(1), 0);
    EXPECT_EQ(phases.OverloadNs(), 5 * Second);
    std::uint64_t lost = 0;
    for (std::int64_t ms = 0; ms < 20'000; ++ms) {
        const std::int64_t now = ms * Second / 1000;
        const bool overload = ms >= 5000 && ms < 15'000;
        const auto sent = static_cast<std::uint64_t>(ms / 20 + 1);
        const std::uint64_t arrived = sent - (ms % 20 < 15 ? 1 : 0);
        if (ms % 40 == 15 && overload) ++lost;
        if (phases.IsDue(now)) phases.Take(now, {{sent, arrived}, {sent, arrived - lost}});
        if (ms % 20 == 15) phases.OnDelay(now, overload ? 90'000 : 9'000);
    }
    const std::vector<PhaseResult> results = phases.Results();
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(results[0].lost, 0U);
    EXPECT_EQ(results[0].delay.maxMs, 9);
    EXPECT_EQ(results[1].expected, 1000U);
    EXPECT_NEAR(static_cast<double>(results[1].lost), 250, 2);  // what goes in the last 60 ms is left open
    EXPECT_NEAR(results[1].LossPercent(), 25, 0.2);
    EXPECT_NEAR(results[1].worstLossPercent, 50, 0.4);
    EXPECT_EQ(results[1].delay.p50Ms, 90);
    EXPECT_EQ(results[2].lost, 0U);
    EXPECT_EQ(results[2].delay.maxMs, 9);
}

TEST(LoadPhases, HasNoneWithoutAnOverloadAndOnlyWholeOnes) {
    LoadPhases none(TwentySeconds(0), 0);
    EXPECT_FALSE(none.IsDue(19 * Second));
    EXPECT_TRUE(none.Results().empty());
    LoadPhases cutShort(TwentySeconds(1), 0);
    cutShort.Take(Second, {{0, 0}});
    cutShort.Take(5 * Second, {{10, 10}});
    EXPECT_EQ(cutShort.Results().size(), 1U);
}

}  // namespace
}  // namespace lab
