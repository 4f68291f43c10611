// The pacing rule, row by row, and what it makes of a steady stream.
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "app/ControlChannel/RelayPacing.h"

namespace {

TEST(TestRelayPacing, Rows) {
    struct Row {
        int packetTime;
        int waiting;
        int phase;
        RelayPacing expected;
    };
    const Row rows[] = {
        {20, 20, 0, {2, 0}}, {20, 4, 0, {2, 0}},  {20, 4, 1, {2, 0}},   {20, 0, 0, {0, 1}},
        {20, 0, 1, {0, 1}},  {20, 1, 1, {0, 1}},  {20, 2, 0, {0, 1}},   {20, 3, 0, {0, 1}},
        {20, 2, 1, {2, 0}},  {20, 3, 1, {2, 0}},  {20, 2, 5, {2, 0}},   {30, 20, 0, {3, 0}},
        {30, 5, 0, {3, 0}},  {30, 4, 2, {3, 0}},  {30, 0, 0, {0, 1}},   {30, 2, 1, {0, 2}},
        {30, 2, 2, {0, 3}},  {30, 3, 0, {0, 1}},  {30, 3, 1, {0, 2}},   {30, 3, 2, {3, 0}},
        {30, 3, 3, {3, 0}},  {10, 0, 0, {12, 0}}, {10, 20, 1, {12, 1}}, {40, 3, 2, {12, 2}},
        {0, 5, 1, {12, 1}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(RelayPacing::Next(row.packetTime, row.waiting, row.phase), row.expected)
            << row.packetTime << " ms, " << row.waiting << " waiting, phase " << row.phase;
    }
}

// The frames moved in each tick when one frame arrives a tick.
std::vector<int> Moves(int packetTime, int backlog, int ticks) {
    std::vector<int> moves;
    int phase = 0;
    for (int tick = 0; tick < ticks; ++tick) {
        ++backlog;
        const RelayPacing pacing = RelayPacing::Next(packetTime, backlog, phase);
        phase = pacing.phase;
        moves.push_back(pacing.limit);
        backlog -= pacing.limit;
    }
    return moves;
}

TEST(TestRelayPacing, ASteadyStreamMovesOnePacketAtATime) {
    EXPECT_EQ(Moves(20, 0, 8), (std::vector<int>{0, 2, 0, 2, 0, 2, 0, 2}));
    EXPECT_EQ(Moves(30, 0, 9), (std::vector<int>{0, 0, 3, 0, 0, 3, 0, 0, 3}));
    EXPECT_EQ(Moves(20, 5, 6), (std::vector<int>{2, 2, 2, 0, 2, 0}));
    EXPECT_EQ(Moves(30, 4, 4), (std::vector<int>{3, 0, 3, 0}));
}

TEST(TestRelayPacing, ALongSilenceCountsNoFurtherThanItMatters) {
    EXPECT_EQ(RelayPacing::Next(30, 0, INT_MAX).phase, 3);
}

}  // namespace
