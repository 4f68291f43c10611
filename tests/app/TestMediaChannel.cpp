// Legs: what a set-up makes of its request, what becomes of failures, hold music, conferences.
#include <cstring>

#include "app/ControlChannel/RelayThread.h"
#include "tests/app/ControlTest.h"

namespace {

class TestMediaChannel : public ControlTest {
 protected:
    static int OpenSockets() { return AsyncSocket::sockets.load()->Size(); }
};

TEST_F(TestMediaChannel, NumbersPortsAndStreams) {
    const MediaPair* pair = MediaPair::Get(channel.get(), 5, 6300, true);
    EXPECT_EQ(pair->external->locport, 6310);
    Leg(3).Setup(ControlMessage::Alaw, Loopback, 5000, 20, 0);
    EXPECT_EQ(Leg(3).msa.sid, 515);
    EXPECT_EQ(Leg(3).msa.streams, 1);
    EXPECT_EQ(Leg(3).msa.remoteRtp, SockAddr(Loopback, 5000));
    EXPECT_EQ(Leg(3).msa.remoteRtcp, SockAddr(Loopback, 5001));
    EXPECT_EQ(Leg(3).rtpsocket->LocalPort(), portbase + 6);
    EXPECT_EQ(Leg(3).rtcpsocket->LocalPort(), portbase + 7);
    for (const UWORD number : {3, 5, 259}) {
        char key[sizeof number];
        memcpy(key, &number, sizeof number);
        EXPECT_EQ(Leg(3).IsKey(key), number == 3) << number;
    }
}

TEST_F(TestMediaChannel, FramesPerPacketAndFlags) {
    struct Row {
        ControlMessage::CompType comp;
        UBYTE mfpp;
        UBYTE stored;
        int packetTime;
    };
    MediaChannel& leg = Leg(2);
    for (const Row& row : {Row{ControlMessage::Alaw, 0, 30, 30}, Row{ControlMessage::Ulaw, 0, 30, 30},
                           Row{ControlMessage::G729, 0, 3, 30}, Row{ControlMessage::NoComp, 0, 30, 30},
                           Row{ControlMessage::Alaw, 5, 30, 30}, Row{ControlMessage::Ulaw, 9, 30, 30},
                           Row{ControlMessage::Alaw, 10, 10, 10}, Row{ControlMessage::G729, 1, 1, 10},
                           Row{ControlMessage::G729, 2, 2, 20}, Row{ControlMessage::Relay, 5, 5, 5},
                           Row{ControlMessage::Ulaw, 255, 255, 255}}) {
        leg.Setup(row.comp, Loopback, 5000, row.mfpp, 0);
        EXPECT_EQ(leg.msa.comp, row.comp);
        EXPECT_EQ(leg.msa.mfpp, row.stored) << row.comp << " with " << int{row.mfpp};
        EXPECT_EQ(leg.PacketTime(), row.packetTime);
    }
    EXPECT_EQ(console.Count("MediaChannel(2)::Setup - maxFramesPerPkt (5) too small!"), 1);
    EXPECT_EQ(console.Count("too small!"), 2);

    for (int flags = 0; flags < 4; ++flags) {
        leg.Setup(ControlMessage::Alaw, Loopback, 5000, 20, static_cast<UBYTE>(flags | 0xFC));
        EXPECT_EQ(leg.doRelay, (flags & 1) != 0);
        EXPECT_EQ(leg.blockDtmf, (flags & 2) != 0);
    }
    EXPECT_EQ(console.Count("MediaChannel(2)::Setup - relay 1, blockDtmf 1"), 1);
}

TEST_F(TestMediaChannel, ASecondSetupReleasesTheFirst) {
    MediaChannel& leg = Leg(2);
    leg.Setup(ControlMessage::Alaw, Loopback, 5000, 20, 0);
    const int sockets = OpenSockets();
    for (int i = 0; i < 20; ++i) leg.Setup(ControlMessage::G729, Loopback, 5000, 2, 0);
    EXPECT_EQ(OpenSockets(), sockets);
    EXPECT_EQ(console.Count("MediaRelay::~MediaRelay - chan 2, rx overruns 0, rx underruns 0"), 20);
    leg.Teardown();
    EXPECT_EQ(OpenSockets(), sockets - 2);
}

TEST_F(TestMediaChannel, StartNamesTheStream) {
    Leg(2).Start(ControlMessage::Alaw, Loopback, 5000);
    EXPECT_EQ(console.Count("SetMSA"), 0) << "nothing to start";
    Leg(2).Setup(ControlMessage::Ulaw, Loopback, 5000, 20, 0);
    Leg(2).Start(ControlMessage::Ulaw, Loopback, 5000);
    char line[200];
    snprintf(line, sizeof line,
             "MediaChannel(2)::Setup - rtpendpoint->SetMSA(7f000001:%d, 7f000001:%d, 7f000001:5000, "
             "7f000001:5001, 3, 20)",
             portbase + 4, portbase + 5);
    EXPECT_EQ(console.Count(line), 1);
}

TEST_F(TestMediaChannel, PortsInUseLeaveNoEndpointAndNothingOpenForLong) {
    RtpPeer peer;
    for (const int taken : {0, 1}) {
        console.Clear();
        auto* holder = new AsyncSocket(false);
        ASSERT_EQ(holder->Create(AsyncSocket::Datagram, RtpPort(2) + taken, 0, false), 0);
        const int before = OpenSockets();
        Map(2, peer, ControlMessage::Alaw, 20);
        EXPECT_EQ(console.Count("MediaChannel(2)::MediaChannel - failed to create sockets!"), 1);
        EXPECT_EQ(console.Count("SetMSA"), 0);
        EXPECT_EQ(Leg(2).rtpendpoint, nullptr);
        EXPECT_EQ(Leg(2).relay, nullptr);
        Leg(2).Teardown();
        EXPECT_EQ(OpenSockets(), before);
        holder->Free();
        Map(2, peer, ControlMessage::Alaw, 20);
        EXPECT_NE(Leg(2).rtpendpoint, nullptr) << "usable again";
        Leg(2).Teardown();
    }
}

TEST_F(TestMediaChannel, APortBeyondSixteenBitsIsNoPort) {
    for (const int base : {65535 - 2 * 8, 65536, 70000}) {
        MediaPair* pair = MediaPair::Get(channel.get(), 8, base, true);
        const int before = OpenSockets();
        pair->internal->Setup(ControlMessage::Alaw, Loopback, 5000, 20, 0);
        EXPECT_EQ(pair->internal->rtpendpoint, nullptr) << base;
        pair->internal->Teardown();
        EXPECT_EQ(OpenSockets(), before);
        MediaPair::Free(pair);
    }
    EXPECT_EQ(console.Count("failed to create sockets!"), 3);
}

TEST_F(TestMediaChannel, ConferencesKeepTheirRules) {
    MediaChannel& a = Leg(0);
    MediaChannel& b = Leg(2);
    MediaChannel& c = Leg(4);
    a.ConferenceAdd(nullptr);
    a.ConferenceAdd(&b);
    c.ConferenceAdd(&b);
    EXPECT_EQ(b.conferenced_to, &a) << "a member of one conference joins no second";
    EXPECT_EQ(c.conferenced_with.Size(), 0);
    c.ConferenceRemove(&b);
    EXPECT_EQ(b.conferenced_to, &a) << "another host cannot remove it";

    b.ConferenceAdd(&a);
    EXPECT_EQ(a.conferenced_to, nullptr) << "a ring of two";
    b.ConferenceAdd(&c);
    c.ConferenceAdd(&a);
    EXPECT_EQ(a.conferenced_to, nullptr) << "a ring of three";
    EXPECT_EQ(console.Count("it would close a ring of hosts"), 2);

    a.ConferenceAdd(&a);
    EXPECT_EQ(a.conferenced_to, &a) << "its own conference is no ring";
    MediaChannel& d = Leg(6);
    a.ConferenceAdd(&d);
    d.ConferenceAdd(&a);
    EXPECT_EQ(a.conferenced_with.Size(), 3);
    b.ConferenceAdd(&d);
    EXPECT_EQ(d.conferenced_to, &a);
    a.ConferenceRemove(&d);
    EXPECT_EQ(d.conferenced_to, nullptr);

    MediaPair::Free(Pair(0));
    EXPECT_EQ(b.conferenced_to, nullptr) << "the host is gone";
    MediaPair::Free(Pair(4));
    EXPECT_TRUE(b.conferenced_with.IsEmpty()) << "the member is gone";
}

class TestHoldMusic : public TestMediaChannel {
 protected:
    static constexpr ULONG Group = 0xEFFF0A0B;

    void SetUp() override {
        TestMediaChannel::SetUp();
        AsyncSocket::SetPrimaryAddress(Loopback);
    }
    void TearDown() override {
        AsyncSocket::SetPrimaryAddress(0);
        TestMediaChannel::TearDown();
    }
    UWORD MusicPort() const { return static_cast<UWORD>(portbase + 2 * Channels - 2); }
};

class MusicSource : public RtpPeer {
 public:
    explicit MusicSource(UWORD port) : port(port) { EXPECT_EQ(socket->SetMulticastInterface(Loopback), 0); }
    void Play(ULONG group) {
        Bytes packet = {0x80,
                        8,
                        static_cast<UBYTE>(number >> 8),
                        static_cast<UBYTE>(number),
                        0,
                        0,
                        static_cast<UBYTE>(160 * number >> 8),
                        static_cast<UBYTE>(160 * number),
                        1,
                        2,
                        3,
                        4};
        packet.insert(packet.end(), 160, 0x55);
        ++number;
        OSBuf* buf = OSBuf::Alloc(static_cast<int>(packet.size()));
        buf->PushData(packet.data(), static_cast<int>(packet.size()));
        SockAddr to(group, port);
        socket->DatagramIndication(buf, nullptr, &to);
    }

 private:
    const UWORD port;
    int number = 1;
};

TEST_F(TestHoldMusic, AnUnmappedLegHearsTheGroupASecondLater) {
    RtpPeer internal;
    RtpPeer external;
    Map(2, internal, ControlMessage::Alaw, 20);
    Map(3, external, ControlMessage::Alaw, 20);
    Request(Message(ControlMessage::HoldMusic, 2, MusicPort(), Group, ControlMessage::Alaw));
    const ULONG unmapped = os_clock();
    Request(Message(ControlMessage::Unmap, 2));
    EXPECT_NE(Leg(2).rtpsocket, nullptr) << "Unmap alone changes nothing";
    ASSERT_TRUE(RunUntil([&] { return Leg(2).mcsocket != nullptr; }));
    EXPECT_GE(os_clock() - unmapped, 999U);
    EXPECT_EQ(console.Count("MediaChannel::HoldMusicTimer - mapping to hold music 239.255.10.11:" +
                            std::to_string(MusicPort())),
              1);
    EXPECT_EQ(Leg(2).rtpsocket, nullptr);
    EXPECT_TRUE(Leg(2).relay->holdMusic);
    EXPECT_EQ(Leg(2).msa.mfpp, 30);

    MusicSource source(MusicPort());
    ASSERT_TRUE(RepeatUntil([&] {
        source.Play(Group);
        return external.Packets(8).size() > 5;
    })) << "the music crosses to the other leg";
    EXPECT_EQ(external.Packets(8).back().payload, Bytes(160, 0x55));

    Map(2, internal, ControlMessage::Alaw, 20);
    EXPECT_EQ(Leg(2).mcsocket, nullptr);
    EXPECT_FALSE(Leg(2).relay->holdMusic);
}

TEST_F(TestHoldMusic, AMapInTimePreventsTheSwitch) {
    RtpPeer peer;
    Map(2, peer, ControlMessage::Alaw, 20);
    Request(Message(ControlMessage::HoldMusic, 2, MusicPort(), Group, ControlMessage::Alaw));
    Request(Message(ControlMessage::Unmap, 2));
    EXPECT_TRUE(Leg(2).holdMusicTimer.IsArmed());
    Map(2, peer, ControlMessage::Alaw, 20);
    EXPECT_FALSE(Leg(2).holdMusicTimer.IsArmed());
    RunFor(1200);
    EXPECT_EQ(Leg(2).mcsocket, nullptr);
}

TEST_F(TestHoldMusic, AFailedJoinIsNamedAndTheLegStaysUsable) {
    Leg(2).SetupHoldMusic(ControlMessage::G729, 0x0A000001, 4000);
    EXPECT_EQ(console.Count("MediaChannel(2)::Setup - failed to create multicast socket!"), 1);
    EXPECT_EQ(Leg(2).rtpendpoint, nullptr);
    EXPECT_EQ(Leg(2).msa.mfpp, 3);
    Leg(2).holdMusic = SockAddr();
    MediaChannel::HoldMusicTimer(&Leg(2), nullptr, 0);
    EXPECT_EQ(console.Count("mapping to hold music"), 0);
    RtpPeer peer;
    Map(2, peer, ControlMessage::Alaw, 20);
    EXPECT_NE(Leg(2).rtpendpoint, nullptr);
}

}  // namespace
