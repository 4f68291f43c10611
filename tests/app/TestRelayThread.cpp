// The relay as a whole: audio between peers over loopback, conferences, digits, disorder and churn.
#include <dirent.h>

#include <random>
#include <thread>

#include "app/ControlChannel/RelayThread.h"
#include "platform/media/G711.h"
#include "tests/app/ControlTest.h"

namespace {

class TestRelayThread : public ControlTest {
 protected:
    static int EntriesOf(const char* directory) {
        int count = 0;
        DIR* dir = opendir(directory);
        while (readdir(dir) != nullptr) ++count;
        closedir(dir);
        return count;
    }
    // Calls `send` every `ms` milliseconds until `done`.
    static bool Talk(ULONG ms, const std::function<void()>& send, const std::function<bool()>& done) {
        ULONG sent = 0;
        const ULONG start = os_clock();
        return RepeatUntil([&] {
            for (; sent * ms <= os_clock() - start; ++sent) send();
            return done();
        });
    }
    void SendAlaw(RtpPeer& peer, int chan, const Bytes& packet) {
        peer.Send(RtpPort(chan), 8, packet, static_cast<ULONG>(packet.size()));
    }
};

TEST(TestRelayThreadSleep, LeavesAMillisecondAndNeverLessThanOne) {
    for (const auto& [spare, sleep] :
         {std::pair(-5, 1U), {-1, 1U}, {0, 1U}, {1, 1U}, {2, 1U}, {3, 2U}, {7, 6U}, {10, 9U}})
        EXPECT_EQ(RelayThread::SleepTime(spare), sleep) << spare;
}

TEST_F(TestRelayThread, KeepsItsGridAndCountsItsSleep) {
    const ULONG start = os_clock();
    MediaPair* pair = Pair(2, true);
    ASSERT_TRUE(RepeatUntil([&] { return pair->sleep_count >= 50; }));
    const ULONG cycles = pair->sleep_count;
    // However late it is and catches up, a cycle never begins more than a millisecond before its time.
    EXPECT_GE(os_clock() - start + 1, 10 * (cycles - 1));
    EXPECT_LE(pair->sleep_total, 10 * pair->sleep_count);
    EXPECT_EQ(console.Count("RelayThread::RelayThread - chan 2"), 1);
    EXPECT_EQ(console.Count("RelayThread::Main - chan 2 - thread started"), 1);

    const ULONG stopped = os_clock();
    pair->thread->Stop();
    EXPECT_LT(os_clock() - stopped, 1000U);
    EXPECT_EQ(console.Count("RelayThread::OnStop - chan 2"), 1);
    EXPECT_EQ(console.Count("RelayThread::Main - chan 2 - thread exiting"), 1);
}

TEST_F(TestRelayThread, CarriesG711ByteForByteInTheReceiversPacketTime) {
    RtpPeer internal;
    RtpPeer external;
    Map(2, internal, ControlMessage::Alaw, 20);
    Map(3, external, ControlMessage::Alaw, 30);
    Bytes audio(160);
    for (size_t i = 0; i < audio.size(); ++i) audio[i] = static_cast<UBYTE>(i);
    ASSERT_TRUE(Talk(
        20, [&] { SendAlaw(internal, 2, audio); }, [&] { return external.Packets(8).size() >= 5; }));
    const std::vector<RtpPeer::Packet> packets = external.Packets(8);
    Bytes heard;
    for (size_t i = 0; i < packets.size(); ++i) {
        EXPECT_EQ(packets[i].payload.size(), 240U);
        EXPECT_EQ(packets[i].sequence, static_cast<UWORD>(packets[0].sequence + i));
        EXPECT_EQ(packets[i].timestamp, packets[0].timestamp + 240 * i);
        heard.insert(heard.end(), packets[i].payload.begin(), packets[i].payload.end());
    }
    for (size_t i = 0; i < heard.size(); ++i) ASSERT_EQ(heard[i], audio[i % 160]) << i;
    EXPECT_EQ(Leg(3).txcount, packets.size());
}

TEST_F(TestRelayThread, TranscodesBothWays) {
    RtpPeer internal;
    RtpPeer external;
    Map(2, internal, ControlMessage::Alaw, 20);
    Map(3, external, ControlMessage::G729, 2);
    ASSERT_TRUE(Talk(
        20, [&] { SendAlaw(internal, 2, Bytes(160, 0x2A)); },
        [&] { return external.Packets(18).size() >= 5; }));
    for (const RtpPeer::Packet& packet : external.Packets(18)) EXPECT_EQ(packet.payload.size(), 20U);
    ASSERT_TRUE(Talk(
        20, [&] { external.Send(RtpPort(3), 18, external.Packets(18).back().payload, 160); },
        [&] { return internal.Packets(8).size() >= 5; }));
    for (const RtpPeer::Packet& packet : internal.Packets(8)) EXPECT_EQ(packet.payload.size(), 160U);
}

TEST_F(TestRelayThread, WithoutAnotherLegFramesAreReleased) {
    RtpPeer internal;
    Map(2, internal, ControlMessage::Alaw, 20);
    ASSERT_TRUE(Talk(
        20, [&] { SendAlaw(internal, 2, Bytes(160, 1)); }, [&] { return Leg(2).rxcount >= 10U; }));
    EXPECT_TRUE(RepeatUntil([&] { return Leg(2).relay->rxq.IsEmpty(); }));
    EXPECT_EQ(Leg(2).rxq_overruns, 0U);
    EXPECT_TRUE(internal.Packets(8).empty());
}

TEST_F(TestRelayThread, AConferenceOfThreeHearsTheMix) {
    RtpPeer hostInternal;
    RtpPeer hostExternal;
    RtpPeer members[2];
    Map(0, hostInternal, ControlMessage::Alaw, 20);
    Map(1, hostExternal, ControlMessage::Alaw, 20);
    Map(2, members[0], ControlMessage::Alaw, 20);
    Map(4, members[1], ControlMessage::Alaw, 20);
    Request(Message(ControlMessage::ConfAdd, 2, 0));
    Request(Message(ControlMessage::ConfAdd, 4, 0));
    ASSERT_EQ(Leg(0).conferenced_with.Size(), 2);

    short linear[2] = {8000, -3000};
    UBYTE alaw[2];
    LinearToAlaw(linear, alaw, 2);
    AlawToLinear(alaw, linear, 2);
    auto sum = static_cast<short>(linear[0] + linear[1]);
    UBYTE mixed = 0;
    LinearToAlaw(&sum, &mixed, 1);
    const auto heard = [](const RtpPeer& peer, UBYTE value) {
        return std::ranges::any_of(peer.Packets(8),
                                   [&](const auto& p) { return p.payload == Bytes(160, value); });
    };
    const auto bothHear = [&](UBYTE value) { return heard(members[0], value) && heard(members[1], value); };
    const auto talkInternal = [&] { SendAlaw(hostInternal, 0, Bytes(160, alaw[0])); };
    ASSERT_TRUE(Talk(20, talkInternal, [&] { return bothHear(alaw[0]); })) << "the internal leg alone";
    const auto talkBoth = [&] {
        talkInternal();
        SendAlaw(hostExternal, 1, Bytes(160, alaw[1]));
    };
    ASSERT_TRUE(Talk(20, talkBoth, [&] { return bothHear(mixed); })) << "both directions added";

    Request(Message(ControlMessage::ConfRemove, 4, 0));
    EXPECT_EQ(Leg(4).conferenced_to, nullptr);
    EXPECT_EQ(Leg(0).conferenced_with.Size(), 1);
}

TEST_F(TestRelayThread, DigitsCrossBothWaysAndExternalOnesAreReported) {
    RtpPeer internal;
    RtpPeer external;
    Map(2, internal, ControlMessage::Alaw, 20);
    Map(3, external, ControlMessage::Alaw, 20);
    server->received.clear();
    external.SendDigit(RtpPort(3), 5, 100);
    ASSERT_TRUE(RunUntil([&] { return !server->received.empty() && !internal.Packets(101).empty(); }));
    EXPECT_EQ(server->received.size(), 1U);
    EXPECT_EQ(server->received[0], (Bytes{static_cast<UBYTE>(seq + 1), 7, 3, 0, 0, 0, 0, 100, 0, '5', 0, 0}));
    EXPECT_EQ(internal.Packets(101)[0].payload[0], 5);
    EXPECT_EQ(console.Count("MediaChannel::RtpDtmfCallback - chan 3, digit 5, duration 100"), 1);

    internal.SendDigit(RtpPort(2), 11, 80);
    ASSERT_TRUE(RunUntil([&] { return !external.Packets(101).empty(); }));
    EXPECT_EQ(external.Packets(101)[0].payload[0], 11);
    EXPECT_EQ(server->received.size(), 1U) << "internal digits are not reported";

    Map(3, external, ControlMessage::Alaw, 20, ControlMessage::FlagBlockDtmf);
    external.received.clear();
    internal.SendDigit(RtpPort(2), 1, 80);
    ASSERT_TRUE(RunUntil([&] { return console.Count("blocked DTMF event...") == 1; }));
    Request(Message(ControlMessage::Digit, 2, '7', 100));
    Map(3, external, ControlMessage::Alaw, 20);
    EXPECT_TRUE(external.Packets(101).empty());
    Request(Message(ControlMessage::Digit, 2, '#', 100));
    ASSERT_TRUE(RunUntil([&] { return !external.Packets(101).empty(); }));
    EXPECT_EQ(external.Packets(101)[0].payload[0], 11);
}

// Requests in any order, between packets of every kind, digits and hold music: what once ended the process.
TEST_F(TestRelayThread, AnyOrderOfRequestsAndPacketsIsSurvived) {
    constexpr ControlMessage::CompType Codecs[] = {ControlMessage::Alaw, ControlMessage::Ulaw,
                                                   ControlMessage::G729, ControlMessage::Relay};
    RtpPeer peer;
    std::mt19937 random(729);
    const auto pick = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (int step = 0; step < 3000; ++step) {
        const int chan = pick(8);
        const auto group = static_cast<ULONG>(0xEFFF0A01 + pick(3));
        switch (pick(8)) {
            case 0:
            case 1: {
                const std::unique_ptr<ControlMessage> msg(
                    &ControlMessage::Alloc(++seq, ControlMessage::Map, chan, Codecs[pick(4)], Loopback,
                                           peer.Port(), static_cast<UBYTE>(pick(4))));
                msg->flags = static_cast<UBYTE>(pick(4));
                server->SendBytes(Datagram(*msg, pick(4) == 0 ? KeyBlockBytes(1) : Bytes()),
                                  channel->GetPort());
                break;
            }
            case 2:
                server->SendBytes(Message(ControlMessage::HoldMusic, chan, 40000, group, Codecs[pick(4)]),
                                  channel->GetPort());
                break;
            case 3:
                server->SendBytes(Message(ControlMessage::Digit, chan, static_cast<UWORD>(pick(256)),
                                          static_cast<ULONG>(random())),
                                  channel->GetPort());
                break;
            case 4:
                server->SendBytes(
                    Message(static_cast<ControlMessage::Event>(pick(9)), chan, static_cast<UWORD>(pick(8))),
                    channel->GetPort());
                break;
            case 5:
                if (MediaPair* pair = Pair(chan))
                    MediaChannel::HoldMusicTimer(pair->GetChannel(chan), nullptr, 0);
                break;
            case 6:
                peer.SendDigit(RtpPort(chan), static_cast<UBYTE>(pick(16)), 100);
                break;
            default:
                for (int i = pick(6); i > 0; --i) {
                    peer.Send(RtpPort(chan), pick(2) == 0 ? 18 : 8, Bytes(static_cast<size_t>(pick(400))),
                              160);
                }
        }
        OSTrigger::TLSPoll();
        if (step % 100 == 0) ControlChannel::TraceTimer(channel.get(), nullptr, 0);
    }
    EXPECT_EQ(Request(Message(ControlMessage::Unmap, 30)).size(), 12U) << "still answering";
}

TEST_F(TestRelayThread, ChurnLeavesNothingBehind) {
    const auto freeBuffers = [] {
        int count = 0;
        for (const OSBufPool& pool : OSBuf::buffer_pool) count += pool.free;
        return count;
    };
    RtpPeer peer;
    std::thread([] {}).join();  // a sanitizer has a thread of its own from the first one on
    const int descriptors = EntriesOf("/proc/self/fd");
    const int threads = EntriesOf("/proc/self/task");
    const int links = OSLink::link_pool.count;
    const int callbacks = OSCallback::callback_pool.count;
    const int buffers = freeBuffers();
    for (int round = 0; round < 2000; ++round) {
        const int chan = round % 8;
        const auto codec = round % 3 == 0 ? ControlMessage::G729 : ControlMessage::Alaw;
        MediaChannel& leg = Leg(chan);
        leg.Setup(codec, Loopback, peer.Port(), 0, 0);
        leg.Start(codec, Loopback, peer.Port());
        leg.holdMusic.Set(0xEFFF0A01, 40000);
        leg.holdMusicTimer.SetTimer(1000);
        if (round % 2 == 0) MediaChannel::HoldMusicTimer(&leg, nullptr, 0);
        if (round % 5 == 0) Leg(8).ConferenceAdd(&leg);
        if (round % 100 == 0) console.Clear();
        MediaPair::Free(Pair(chan));
        if (round % 5 == 0) {
            EXPECT_TRUE(Leg(8).conferenced_with.IsEmpty());
        }
        OSTrigger::TLSPoll();
    }
    MediaPair::Free(Pair(8));
    EXPECT_EQ(EntriesOf("/proc/self/fd"), descriptors);
    // A joined thread is gone for the process a moment before it is for the system.
    for (int i = 0; i < 5000 && EntriesOf("/proc/self/task") != threads; ++i) Sleep(1);
    EXPECT_EQ(EntriesOf("/proc/self/task"), threads);
    EXPECT_EQ(OSLink::link_pool.count, links);
    EXPECT_EQ(OSCallback::callback_pool.count, callbacks);
    EXPECT_EQ(freeBuffers(), buffers);
}

}  // namespace
