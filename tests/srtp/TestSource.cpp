// Indexes of a source's packets: guessed from sequence numbers, remembered against replay, and used up.
#include <gtest/gtest.h>

#include "platform/media/srtp/Source.h"

namespace {

using srtp::ReplayWindow;
using srtp::Source;

constexpr std::uint64_t RollOver = 0x10000;

TEST(TestSource, IndexIsTheNearestThatTheSequenceNumberAllows) {
    struct Row {
        std::uint64_t highest;
        UWORD sequence;
        std::uint64_t index;
    };
    const Row rows[] = {
        {10, 11, 11},
        {10, 9, 9},
        // There is no roll-over before the first.
        {10, 65535, 65535},
        {0, 40000, 40000},
        // On both sides of the half of the numbers.
        {32767, 65535, 65535},
        {32768, 0, 0},
        {32769, 0, RollOver},
        {32770, 1, RollOver + 1},
        {65535, 32767, 32767},
        {65535, 32766, RollOver + 32766},
        {65535, 0, RollOver},
        {RollOver, 65535, 65535},
        {RollOver, 32768, RollOver + 32768},
        {RollOver, 32769, 32769},
        {RollOver + 32767, 65535, RollOver + 65535},
        {RollOver + 32766, 65535, 65535},
        {5 * RollOver + 65000, 7, 6 * RollOver + 7},
        {6 * RollOver + 7, 65000, 5 * RollOver + 65000},
        {Source::MaxIndex, 65535, Source::MaxIndex},
        {Source::MaxIndex, 40000, Source::MaxIndex - 25535},
    };
    for (const Row& row : rows) {
        Source source;
        source.rtp.Add(row.highest);
        EXPECT_EQ(source.IndexOf(row.sequence), row.index) << row.highest << ' ' << row.sequence;
    }
}

TEST(TestSource, NothingFollowsTheLastIndex) {
    Source source;
    EXPECT_EQ(source.NextControlIndex(), 1U);
    source.rtcp.Add(Source::MaxControlIndex - 1);
    EXPECT_EQ(source.NextControlIndex(), 0x7FFFFFFFU);
    source.rtcp.Add(Source::MaxControlIndex);
    EXPECT_EQ(source.NextControlIndex(), std::nullopt);
    source.rtp.Add(0xFFFFFFFFFFFF);
    EXPECT_EQ(source.IndexOf(0), std::nullopt);
    EXPECT_EQ(source.IndexOf(32766), std::nullopt);
}

TEST(TestSource, WindowKnowsTheLast128Indexes) {
    for (const std::uint64_t first : {std::uint64_t{0}, std::uint64_t{1000}, Source::MaxIndex - 1000}) {
        SCOPED_TRACE(first);
        ReplayWindow window;
        EXPECT_TRUE(window.IsEmpty());
        EXPECT_TRUE(window.IsNew(first));
        window.Add(first);
        EXPECT_FALSE(window.IsEmpty());
        EXPECT_FALSE(window.IsNew(first));
        window.Add(first + 127);
        EXPECT_FALSE(window.IsNew(first)) << "the oldest of the window";
        for (std::uint64_t index = first + 1; index < first + 127; index++) EXPECT_TRUE(window.IsNew(index));
        window.Add(first + 1);
        window.Add(first + 64);
        window.Add(first + 128);
        for (const int used : {0, 1, 64, 127, 128}) EXPECT_FALSE(window.IsNew(first + used)) << used;
        for (const int unused : {2, 63, 65, 126, 129}) EXPECT_TRUE(window.IsNew(first + unused)) << unused;
        window.Add(first + 1000);
        EXPECT_EQ(window.Highest(), first + 1000);
        EXPECT_FALSE(window.IsNew(first + 872)) << "too old to be known";
        EXPECT_TRUE(window.IsNew(first + 873));
        EXPECT_TRUE(window.IsNew(first + 999));
        EXPECT_FALSE(window.IsNew(first + 1000));
    }
}

}  // namespace
