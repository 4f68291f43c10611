// Two peers that speak with each other, without a module in between.
#include <gtest/gtest.h>

#include <array>

#include "platform/media/RtpHeader.h"
#include "tests/lab/Words.h"
#include "tools/lab/RtpPeer.h"

namespace lab {
namespace {

constexpr int BoundMs = 10000;

// The two ends of one SRTP leg: what one sends the other receives.
SrtpKeys Mirrored(const SrtpKeys& keys) {
    return {keys.suite, keys.remoteKey, keys.remoteSalt, keys.localKey, keys.localSalt};
}

struct Pair {
    explicit Pair(const RtpPeer::Setup& setup) : left(setup), right(Mirror(setup)) {
        std::string error;
        EXPECT_TRUE(left.Open(error)) << error;
        EXPECT_TRUE(right.Open(error)) << error;
        left.ConnectTo(right.Local());
        right.ConnectTo(left.Local());
    }
    static RtpPeer::Setup Mirror(RtpPeer::Setup setup) {
        if (setup.keys) setup.keys = Mirrored(*setup.keys);
        return setup;
    }

    RtpPeer left;
    RtpPeer right;
};

TEST(RtpPeer, IsHeardByteForByteMeasuredAndRecorded) {
    for (const bool secure : {false, true}) {
        RtpPeer::Setup setup{.codec = Codec::Ulaw, .packetMs = 10};
        if (secure) setup.keys = SrtpKeys::Random(SrtpKeys::Sha1_32);
        Pair pair(setup);
        const auto speech = SpeechSource(test::Words(2)).Code(Codec::Ulaw, 10);
        const auto matcher = pair.left.MeasureTo(pair.right, speech);
        pair.left.Talk(speech);
        ASSERT_TRUE(pair.right.WaitAudio(60, BoundMs));
        pair.left.Hush();
        ASSERT_TRUE(pair.right.WaitAudio(pair.left.PacketsSent(), BoundMs));

        const ReceiveCounts counts = pair.right.Counts();
        EXPECT_EQ(counts.missing + counts.late + counts.duplicates + counts.foreign + counts.unauthentic, 0U);
        EXPECT_EQ(counts.sources, 1U);
        const std::vector<UBYTE> bytes = pair.right.Bytes();
        ASSERT_EQ(bytes.size(), counts.audio * 80);
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), speech->coded.begin()));
        EXPECT_EQ(pair.right.Recording().size(), bytes.size());
        const DelayResult delay = matcher->Finish();
        EXPECT_EQ(delay.unmatched, 0U);
        EXPECT_GE(delay.delays.Summarise().minMs, 0);
        EXPECT_EQ(delay.delays.Summarise().count, counts.audio);
    }
}

TEST(RtpPeer, SendsEveryKeyOnceAndInOrder) {
    Pair pair({.codec = Codec::Alaw, .packetMs = 20});
    pair.left.Talk(SpeechSource(test::Words(1)).Code(Codec::Alaw, 20));
    for (const char key : std::string("19*#AD")) EXPECT_TRUE(pair.left.SendDigit(key, 60));
    EXPECT_FALSE(pair.left.SendDigit('x', 60));
    EXPECT_EQ(pair.right.WaitDigits(6, BoundMs), "19*#AD");
    EXPECT_GE(pair.right.Digits().front().ms, 60);
}

TEST(RtpPeer, HearsNothingButCountsWhatIsNotMeantForIt) {
    Pair pair({.keys = SrtpKeys::Random(SrtpKeys::Sha1_80)});
    const std::array<UBYTE, 40> garbage{0x80, 0x08};
    ASSERT_TRUE(pair.left.SendRtp(garbage));
    ASSERT_TRUE(pair.left.SendRtcp(garbage));
    EXPECT_TRUE(pair.right.WaitFor(BoundMs,
                                   [](const RtpReceiver& heard) { return heard.Counts().unauthentic == 1; }));
    EXPECT_EQ(pair.right.Counts().audio, 0U);
}

TEST(RtpPeer, NoticesANewSourceAndLostPackets) {
    Pair pair({.codec = Codec::Alaw, .packetMs = 10});
    pair.left.Talk(SpeechSource(test::Words(1)).Code(Codec::Alaw, 10));
    ASSERT_TRUE(pair.right.WaitAudio(10, BoundMs));
    pair.left.SkipSequence(5);
    ASSERT_TRUE(
        pair.right.WaitFor(BoundMs, [](const RtpReceiver& heard) { return heard.Counts().missing == 5; }));
    pair.left.ChangeSource(1234);
    ASSERT_TRUE(
        pair.right.WaitFor(BoundMs, [](const RtpReceiver& heard) { return heard.Counts().sources == 2; }));
    EXPECT_EQ(pair.right.Counts().missing, 5U);
}

TEST(RtpReceiver, TellsPausesFromKeysAndFromLoss) {
    RtpSender sender(SpeechSource(test::Words(1)).Code(Codec::Alaw, 20), 0);
    RtpReceiver receiver(Codec::Alaw, false);
    std::array<UBYTE, RtpSender::MaxPacket> room{};
    const auto say = [&] { receiver.OnDatagram(std::span(room).first(sender.Next(room)), 0); };
    say();
    say();
    sender.Pause();  // time goes by without a word
    say();
    EXPECT_EQ(receiver.Counts().pauses, 1U);
    sender.Pause();  // a key takes the place of a word
    const media::TelephoneEventSender::Packet key{
        {.event = 5, .end = true, .duration = 160}, sender.Timestamp(), true};
    receiver.OnDatagram(std::span(room).first(sender.Event(key, room)), 0);
    say();
    sender.Next(room);  // a word is lost
    say();
    EXPECT_EQ(receiver.Counts().pauses, 1U);
    EXPECT_EQ(receiver.Counts().missing, 1U);
    EXPECT_EQ(receiver.Counts().audio, 5U);
}

TEST(RtcpReporter, ReportsWhatItHeardAndReadsWhatItsPeerReports) {
    const auto speech = SpeechSource(test::Words(1)).Code(Codec::Alaw, 20);
    RtpSender sender(speech, 0);
    RtpReceiver receiver(Codec::Alaw, false);
    std::array<UBYTE, RtpSender::MaxPacket> room{};
    for (int i = 0; i < 10; ++i) {
        if (i == 4) sender.SkipSequence(2);
        receiver.OnDatagram(std::span(room).first(sender.Next(room)), i * 20'000'000LL);
    }
    RtcpReporter ours;
    const std::size_t size = ours.Write(sender, receiver, room);
    ASSERT_GT(size, 0U);
    RtcpReporter theirs;
    theirs.OnDatagram(std::span(room).first(size), sender.Ssrc(), 0);
    const RtcpReporter::Heard& heard = theirs.What();
    EXPECT_EQ(heard.compounds, 1U);
    EXPECT_EQ(heard.cname, "kestrel-lab");
    ASSERT_TRUE(heard.sender);
    EXPECT_EQ(heard.sender->packets, 10U);
    EXPECT_EQ(heard.sender->octets, 1600U);
    ASSERT_TRUE(heard.aboutUs);
    EXPECT_EQ(heard.aboutUs->cumulativeLost, 2);
    EXPECT_FALSE(heard.bye);
    theirs.OnDatagram(std::span(room).first(size - 3), sender.Ssrc(), 0);
    EXPECT_EQ(theirs.What().malformed, 1U);
}

}  // namespace
}  // namespace lab
