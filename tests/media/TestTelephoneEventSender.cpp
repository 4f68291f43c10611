// The packets of the digits that we send.
#include <gtest/gtest.h>

#include <vector>

#include "platform/media/TelephoneEventReceiver.h"
#include "platform/media/TelephoneEventSender.h"
#include "tests/media/Packets.h"

namespace {

using media::TelephoneEventSender;

struct Sent {
    ULONG at;
    TelephoneEventSender::Packet packet;
};

// Polls as an owner does until nothing is left, each time `late` milliseconds late.
std::vector<Sent> SendAll(TelephoneEventSender& sender, ULONG now = 0, ULONG late = 0) {
    std::vector<Sent> sent;
    while (sender.IsBusy() && sent.size() < 10000) {
        if (const auto packet = sender.Poll(now, now * 8)) sent.push_back({now, *packet});
        now += sender.NextPoll(now) + late;
    }
    return sent;
}

TEST(TestTelephoneEventSender, OneDigit) {
    TelephoneEventSender sender;
    EXPECT_FALSE(sender.IsBusy());
    ASSERT_TRUE(sender.Add('#', 100));
    const std::vector<Sent> sent = SendAll(sender, 1000);
    ASSERT_EQ(sent.size(), 7U);
    for (size_t i = 0; i < sent.size(); i++) {
        const auto& [event, timestamp, marker] = sent[i].packet;
        EXPECT_EQ(sent[i].at, 1000 + 20 * i);
        EXPECT_EQ(event.event, 11);
        EXPECT_EQ(timestamp, 8000U);
        EXPECT_EQ(marker, i == 0);
        EXPECT_EQ(event.duration, std::min<size_t>(160 * (i + 1), 800));
        EXPECT_EQ(event.end, i >= 4);
    }
}

TEST(TestTelephoneEventSender, DurationsAndIntervals) {
    struct Row {
        int updateMs;
        int durationMs;
        ULONG late;
        int units;
        size_t packets;
    };
    const Row rows[] = {
        {20, 100, 0, 800, 7},  {20, 0, 0, 320, 4},     {20, -1000000, 0, 320, 4},
        {20, 45, 0, 360, 5},   {60, 100, 0, 800, 4},   {50, 30, 0, 320, 3},
        {20, 100, 19, 800, 7}, {20, 100, 500, 800, 4}, {20, 100, 1, 800, 7},
    };
    for (const Row& row : rows) {
        TelephoneEventSender sender(row.updateMs);
        ASSERT_TRUE(sender.Add('1', row.durationMs));
        const std::vector<Sent> sent = SendAll(sender, 77, row.late);
        EXPECT_EQ(sent.size(), row.packets) << row.updateMs << ' ' << row.durationMs << ' ' << row.late;
        int ends = 0;
        for (const Sent& each : sent) {
            ends += each.packet.event.end ? 1 : 0;
            EXPECT_TRUE(!each.packet.event.end || each.packet.event.duration == row.units);
        }
        EXPECT_EQ(ends, 3);
    }
}

TEST(TestTelephoneEventSender, DigitsInARowKeepAPauseAndAnOwnTimeStamp) {
    TelephoneEventSender sender;
    for (const char digit : {'5', '5', 'd'}) ASSERT_TRUE(sender.Add(digit, 60));
    ULONG start = 0;
    int starts = 0;
    ULONG endAt = 0;
    for (const auto& [at, packet] : SendAll(sender, 500)) {
        if (packet.marker) {
            starts++;
            start = packet.timestamp;
            EXPECT_TRUE(endAt == 0 || start >= endAt + 60 * 8) << "pause of " << start - endAt;
        }
        EXPECT_EQ(packet.timestamp, start);
        if (packet.event.end) endAt = packet.timestamp + packet.event.duration;
    }
    EXPECT_EQ(starts, 3);
}

TEST(TestTelephoneEventSender, LongEventGoesOutInSegmentsAndIsOneDigitToAReceiver) {
    class Keys : public media::TelephoneEventReceiver::Listener {
     public:
        void OnDigit(char digit, int durationMs) override {
            text += digit + std::to_string(durationMs) + ' ';
        }
        std::string text;
    } keys;
    media::TelephoneEventReceiver receiver(keys);
    TelephoneEventSender sender;
    ASSERT_TRUE(sender.Add('7', 20000));
    ASSERT_TRUE(sender.Add('8', 80));
    int markers = 0;
    std::vector<ULONG> stamps;
    for (const auto& [at, packet] : SendAll(sender)) {
        markers += packet.marker ? 1 : 0;
        if (stamps.empty() || stamps.back() != packet.timestamp) stamps.push_back(packet.timestamp);
        receiver.OnEventPacket(
            1, packet.timestamp,
            media_test::EventPayload(packet.event.event, packet.event.end, packet.event.duration), at);
        receiver.OnTime(at);
    }
    EXPECT_EQ(keys.text, "720000 880 ");
    EXPECT_EQ(markers, 2);
    ASSERT_EQ(stamps.size(), 4U);
    EXPECT_EQ(stamps[1], 65535U);
    EXPECT_EQ(stamps[2], 2U * 65535);
}

TEST(TestTelephoneEventSender, QueueIsBoundedAndRefusesWhatIsNoDigit) {
    TelephoneEventSender sender;
    for (const char wrong : {'\0', 'E', ' ', '\xFF', '$'}) EXPECT_FALSE(sender.Add(wrong, 100));
    const std::string digits = "0123456789*#ABCD!abcd";
    for (int i = 0; i < TelephoneEventSender::MaxQueued; i++) {
        EXPECT_TRUE(sender.Add(digits[static_cast<size_t>(i) % digits.size()], 100));
    }
    EXPECT_FALSE(sender.Add('1', 100));
    int starts = 0;
    for (const Sent& each : SendAll(sender)) starts += each.packet.marker ? 1 : 0;
    EXPECT_EQ(starts, TelephoneEventSender::MaxQueued);
    ASSERT_TRUE(sender.Add('1', 100));
    sender.Clear();
    EXPECT_FALSE(sender.IsBusy());
}

}  // namespace
