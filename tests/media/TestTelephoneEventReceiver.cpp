// Digits out of telephone event packets: each exactly once, whatever the network and the sender do to them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/media/TelephoneEventReceiver.h"
#include "tests/media/Packets.h"

namespace {

using media::TelephoneEventReceiver;
using media_test::EventPayload;

constexpr ULONG Ssrc = 0x1234;

// What arrives, or passes, one after the other.
struct Step {
    enum What { Event, End, Audio, Wait } what;
    ULONG timestamp = 0;
    UBYTE event = 0;
    UWORD duration = 0;  // of a Wait: milliseconds
    ULONG ssrc = Ssrc;
};

class Keys : public TelephoneEventReceiver::Listener {
 public:
    void OnDigit(char digit, int durationMs) override {
        text += digit + std::to_string(durationMs) + ' ';
        count++;
    }
    void OnExcessDigit() override { excess++; }

    std::string text;
    int count = 0;
    int excess = 0;
};

std::string Play(const std::vector<Step>& steps) {
    Keys keys;
    TelephoneEventReceiver receiver(keys);
    ULONG now = 0xFFFFFF00;
    for (const Step& step : steps) {
        now += step.what == Step::Wait ? step.duration : 20;
        if (step.what == Step::Audio) receiver.OnAudio(step.ssrc, step.timestamp, now);
        if (step.what == Step::Event || step.what == Step::End) {
            const auto payload = EventPayload(step.event, step.what == Step::End, step.duration);
            EXPECT_TRUE(receiver.OnEventPacket(step.ssrc, step.timestamp, payload, now));
        }
        receiver.OnTime(now);
    }
    return keys.text;
}

TEST(TestTelephoneEventReceiver, EachPressIsOneDigit) {
    using enum Step::What;
    struct Row {
        const char* name;
        std::vector<Step> steps;
        const char* digits;
    };
    const Row rows[] = {
        {"as it should be",
         {{Event, 1000, 5, 160},
          {Event, 1000, 5, 320},
          {End, 1000, 5, 800},
          {End, 1000, 5, 800},
          {End, 1000, 5, 800}},
         "5100 "},
        {"end alone", {{End, 1000, 11, 800}}, "#100 "},
        {"duplicates of everything",
         {{Event, 1000, 5, 160},
          {Event, 1000, 5, 160},
          {End, 1000, 5, 800},
          {Event, 1000, 5, 160},
          {End, 1000, 5, 800},
          {Event, 1000, 5, 320}},
         "5100 "},
        {"end before its updates",
         {{End, 1000, 5, 800}, {Event, 1000, 5, 320}, {Event, 1000, 5, 160}},
         "5100 "},
        {"updates reordered", {{Event, 1000, 5, 480}, {Event, 1000, 5, 160}, {End, 1000, 5, 800}}, "5100 "},
        {"end lost, another key",
         {{Event, 1000, 5, 640}, {Event, 3000, 6, 160}, {End, 3000, 6, 800}},
         "580 6100 "},
        {"end lost, the same key again",
         {{Event, 1000, 5, 640}, {Event, 3000, 5, 160}, {End, 3000, 5, 800}},
         "580 5100 "},
        {"two equal keys in a row",
         {{End, 1000, 5, 800}, {End, 1000, 5, 800}, {End, 2300, 5, 800}, {End, 2300, 5, 800}},
         "5100 5100 "},
        {"end lost, audio behind the event",
         {{Event, 1000, 5, 640}, {Audio, 3000}, {End, 1000, 5, 800}},
         "580 "},
        {"audio beside the event",
         {{Event, 1000, 5, 160}, {Audio, 1160}, {Event, 1000, 5, 320}, {Audio, 1320}, {End, 1000, 5, 480}},
         "560 "},
        {"audio of another stream",
         {{Event, 1000, 5, 160}, {Audio, 9000, 0, 0, 99}, {End, 1000, 5, 480}},
         "560 "},
        {"end lost, silence", {{Event, 1000, 5, 640}, {Wait, 0, 0, 300}, {End, 1000, 5, 800}}, "580 "},
        {"not silent long enough", {{Event, 1000, 5, 640}, {Wait, 0, 0, 270}, {End, 1000, 5, 800}}, "5100 "},
        {"late packets of a key that was overtaken",
         {{Event, 1000, 5, 640}, {Event, 3000, 6, 160}, {End, 1000, 5, 800}, {End, 3000, 6, 800}},
         "580 6100 "},
        {"a key of which only a late packet comes",
         {{Event, 3000, 6, 160}, {End, 1000, 5, 800}, {End, 1000, 5, 800}, {End, 3000, 6, 800}},
         "5100 6100 "},
        {"long event in segments",
         {{Event, 1000, 5, 65535},
          {Event, 66535, 5, 160},
          {Event, 66535, 5, 65535},
          {Event, 132070, 5, 160},
          {End, 132070, 5, 8000},
          {End, 132070, 5, 8000}},
         "517383 "},
        {"long event whose segments lose their last packets",
         {{Event, 1000, 5, 65000}, {Event, 66535, 5, 65000}, {End, 132070, 5, 8000}},
         "517383 "},
        {"a sender that advances the time stamp within one event",
         {{Event, 1000, 5, 160},
          {Event, 1160, 5, 160},
          {Event, 1320, 5, 160},
          {End, 1480, 5, 160},
          {End, 1640, 5, 160}},
         "580 "},
        {"time stamps over the wrap",
         {{Event, 0xFFFFFF00, 5, 160},
          {Event, 0xFFFFFF00, 5, 640},
          {End, 0xFFFFFF00, 5, 800},
          {End, 600, 1, 800}},
         "5100 1100 "},
        {"another SSRC",
         {{Event, 1000, 5, 160}, {Event, 1000, 5, 160, 99}, {End, 1000, 5, 320, 99}},
         "520 540 "},
        {"a sender whose clock stands still between keys",
         {{End, 1000, 5, 800}, {Wait, 0, 0, 4000}, {End, 1000, 5, 800}},
         "5100 5100 "},
        {"an event that is no key",
         {{End, 1000, 32, 800}, {End, 3000, 255, 800}, {End, 5000, 16, 800}},
         "!100 "},
        {"duration 0", {{Event, 1000, 5, 0}, {Event, 1000, 5, 0}, {End, 1000, 5, 0}}, "50 "},
    };
    for (const Row& row : rows) EXPECT_EQ(Play(row.steps), row.digits) << row.name;
}

TEST(TestTelephoneEventReceiver, SeveralEventsInOnePacket) {
    Keys keys;
    TelephoneEventReceiver receiver(keys);
    media_test::Bytes payload = EventPayload(1, true, 800);
    const media_test::Bytes second = EventPayload(2, false, 160);
    payload.insert(payload.end(), second.begin(), second.end());
    EXPECT_TRUE(receiver.OnEventPacket(Ssrc, 1000, payload, 0));
    EXPECT_EQ(keys.text, "1100 ");
    EXPECT_TRUE(receiver.OnEventPacket(Ssrc, 1800, EventPayload(2, true, 480), 40));
    EXPECT_EQ(keys.text, "1100 260 ");
    for (const size_t length : {0, 1, 2, 3, 5, 7}) {
        EXPECT_FALSE(receiver.OnEventPacket(Ssrc, 9000, media_test::Bytes(length), 60)) << length;
    }
}

TEST(TestTelephoneEventReceiver, AFloodIsBoundedAndPassesOver) {
    Keys keys;
    TelephoneEventReceiver receiver(keys);
    for (ULONG i = 0; i < 10000; i++) {
        receiver.OnEventPacket(Ssrc, 2000 * i, EventPayload(static_cast<UBYTE>(i % 10), true, 800), i / 10);
    }
    // A second's worth and what may come at once.
    EXPECT_LE(keys.count, 1000 / 40 + 32);
    EXPECT_EQ(keys.count + keys.excess, 10000);
    keys.text.clear();
    receiver.OnEventPacket(Ssrc, 90000000, EventPayload(9, true, 800), 1100);
    EXPECT_EQ(keys.text, "9100 ");
}

}  // namespace
