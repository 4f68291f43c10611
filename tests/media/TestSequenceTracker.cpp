// Order, loss and jitter of a stream: rows of sequence numbers and what becomes of each.
#include <gtest/gtest.h>

#include <vector>

#include "platform/media/SequenceTracker.h"

namespace {

using media::SequenceTracker;
using enum SequenceTracker::Verdict;

struct Step {
    ULONG ssrc;
    UWORD sequence;
    SequenceTracker::Verdict verdict;
};

struct Row {
    const char* name;
    std::vector<Step> steps;
    ULONG highest;
    std::int32_t lost;
    ULONG sequenceErrors;
    ULONG timingErrors;
};

TEST(TestSequenceTracker, Rows) {
    const Row rows[] = {
        {"in order over the wrap",
         {{1, 65534, First}, {1, 65535, InOrder}, {1, 0, InOrder}, {1, 1, InOrder}},
         0x10001,
         0,
         0,
         0},
        {"reordered around the wrap, with duplicates and replays",
         {{1, 65533, First},
          {1, 65535, InOrder},
          {1, 0, InOrder},
          {1, 65535, Duplicate},
          {1, 1, InOrder},
          {1, 65534, Late},
          {1, 65534, Duplicate},
          {1, 2, InOrder},
          {1, 65533, Duplicate},
          {1, 2, Duplicate}},
         0x10002,
         -4,
         1,
         0},
        {"loss", {{1, 10, First}, {1, 14, InOrder}, {1, 15, InOrder}}, 15, 3, 3, 0},
        {"older than the first", {{1, 10, First}, {1, 9, Late}, {1, 9, Duplicate}}, 10, -2, 0, 0},
        {"largest gap that is loss", {{1, 0, First}, {1, 3000, InOrder}}, 3000, 2999, 2999, 0},
        {"jump ahead", {{1, 0, First}, {1, 3001, Jump}, {1, 3002, InOrder}}, 3002, 0, 1, 1},
        {"oldest that is late", {{1, 200, First}, {1, 100, Late}}, 200, -1, 0, 0},
        {"jump back", {{1, 200, First}, {1, 99, Jump}, {1, 100, InOrder}}, 100, 0, 1, 1},
        {"a window of lateness moves on",
         {{1, 0, First}, {1, 101, InOrder}, {1, 1, Late}, {1, 102, InOrder}, {1, 2, Late}},
         102,
         98,
         100,
         0},
        {"new source and back again",
         {{1, 500, First}, {2, 500, NewSource}, {2, 501, InOrder}, {1, 501, NewSource}, {1, 502, InOrder}},
         502,
         0,
         0,
         2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SequenceTracker tracker;
        for (const Step& step : row.steps) {
            EXPECT_EQ(tracker.Accept(step.ssrc, step.sequence), step.verdict) << step.sequence;
        }
        EXPECT_EQ(tracker.HighestSequence(), row.highest);
        EXPECT_EQ(tracker.Lost(), row.lost);
        EXPECT_EQ(tracker.SequenceErrors(), row.sequenceErrors);
        EXPECT_EQ(tracker.TimingErrors(), row.timingErrors);
    }
}

TEST(TestSequenceTracker, FractionLostIsThatOfTheInterval) {
    SequenceTracker tracker;
    for (UWORD sequence = 0; sequence < 100; sequence++) tracker.Accept(7, sequence);
    EXPECT_EQ(tracker.FractionLost(), 0);
    for (UWORD sequence = 100; sequence < 200; sequence += 2) tracker.Accept(7, sequence);
    // 99 expected since, 50 received.
    EXPECT_EQ(tracker.FractionLost(), 49 * 256 / 99);
    EXPECT_EQ(tracker.FractionLost(), 0);
    tracker.Accept(7, 197);
    tracker.Accept(7, 195);
    EXPECT_EQ(tracker.FractionLost(), 0) << "more received than expected";
}

TEST(TestSequenceTracker, JitterFollowsTheStandardsExampleAndClockJumpsBeginAnew) {
    SequenceTracker tracker;
    tracker.Accept(1, 0);
    double expected = 0;
    int previous = 0;
    // Packets of 160 units that come alternately 40 units early and late.
    for (int i = 0; i < 200; i++) {
        const int offset = i % 2 == 0 ? 0 : 80;
        EXPECT_TRUE(tracker.AddTiming(static_cast<ULONG>(160 * i), static_cast<ULONG>(160 * i + offset)));
        if (i > 0) expected += (std::abs(offset - previous) - expected) / 16;
        previous = offset;
    }
    EXPECT_NEAR(tracker.Jitter(), expected, 2);
    // Silence suppression: both clocks go on. Then the sender's jumps by an hour.
    EXPECT_TRUE(tracker.AddTiming(160 * 1000, 160 * 1000));
    const ULONG before = tracker.Jitter();
    EXPECT_FALSE(tracker.AddTiming(160 * 1001 + 28800000, 160 * 1001));
    EXPECT_TRUE(tracker.AddTiming(160 * 1002 + 28800000, 160 * 1002));
    EXPECT_LE(tracker.Jitter(), before);
    EXPECT_EQ(tracker.TimingErrors(), 1U);
}

}  // namespace
