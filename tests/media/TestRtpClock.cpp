// The clock of what we send: by samples while we send, by time over a pause, whatever the source's clock
// does.
#include <gtest/gtest.h>

#include "platform/media/RtpClock.h"

namespace {

TEST(TestRtpClock, Rows) {
    struct Row {
        const char* name;
        ULONG now;
        ULONG source;
        int samples;
        ULONG timestamp;
        bool discontinuity;
    };
    constexpr ULONG Start = 0xFFFFFF00;  // wraps soon
    const Row rows[] = {
        {"first packet", 20, 1000, 160, Start, true},
        {"20 ms on", 40, 1160, 160, Start + 160, false},
        {"a burst", 40, 1320, 160, Start + 320, false},
        {"packet time changes to 30 ms", 70, 1480, 240, Start + 480, false},
        {"late, but no pause", 199, 1720, 240, Start + 720, false},
        {"source's clock jumps", 219, 77, 160, Start + 960, true},
        {"goes on from there", 239, 237, 160, Start + 1120, false},
        // 1000 ms after the last packet: 8000 samples from its end, of which this one holds the last 160.
        {"pause of a second", 1239, 397, 160, Start + 1280 + 8000 - 160, true},
        {"and on", 1259, 557, 160, Start + 1280 + 8000, false},
    };
    media::RtpClock clock(Start, 0);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const media::RtpClock::Stamp stamp = clock.Advance(row.source, row.samples, row.now);
        EXPECT_EQ(stamp.timestamp, row.timestamp);
        EXPECT_EQ(stamp.discontinuity, row.discontinuity);
        EXPECT_EQ(clock.At(row.now), row.timestamp + static_cast<ULONG>(row.samples));
    }
    EXPECT_EQ(clock.At(1359), Start + 1280 + 8000 + 160 + 800);
}

}  // namespace
