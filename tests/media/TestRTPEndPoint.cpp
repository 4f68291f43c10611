// Endpoints over real sockets: audio both ways, digits, what is refused, SRTP, and every order of ending.
#include <numeric>
#include <thread>

#include "platform/media/G711.h"
#include "platform/media/RTPEndPoint.h"
#include "platform/media/SrtpSession.h"
#include "tests/media/EndPointTest.h"

namespace {

using namespace media_test;

constexpr UBYTE PcmA = 8;
constexpr UBYTE PcmU = 0;
constexpr UBYTE G729Type = 18;
constexpr UBYTE Events = 101;

class TestRTPEndPoint : public EndPointTest {
 protected:
    // Every message of a kind that is limited to one a second may be printed again.
    static void LetMessagesThrough() { RunFor(1001); }
};

bool IsEnd(const media::RtpPacketView& packet) {
    if (packet.header.payloadType != Events) return false;
    const auto event = media::TelephoneEvent::Parse(packet.payload);
    return event && event->end;
}

TEST_F(TestRTPEndPoint, AudioBothWays) {
    MakeEndpoint();
    EXPECT_EQ(device.Send(Bytes(160, 1)), Blocked) << "nothing goes out before the stream starts";
    Start(media::Alaw);
    for (UBYTE i = 1; i <= 5; i++) EXPECT_EQ(device.Send(Bytes(160, i)), Success);
    for (UWORD i = 1; i <= 5; i++)
        PeerSends(PcmA, static_cast<UWORD>(65532 + i), 160U * i, Bytes(160, UBYTE(i)));
    ASSERT_TRUE(WaitForPeer(5));
    ASSERT_TRUE(WaitForPayloads(5));
    const auto sent = peerRtpReceived.Rtp();
    EXPECT_LT(sent[0].header.sequence, 0x8000);
    for (size_t i = 0; i < 5; i++) {
        EXPECT_EQ(sent[i].header.payloadType, PcmA);
        EXPECT_EQ(sent[i].header.marker, i == 0);
        EXPECT_EQ(sent[i].header.sequence, sent[0].header.sequence + i);
        EXPECT_EQ(sent[i].header.timestamp, sent[0].header.timestamp + 160 * i);
        EXPECT_EQ(sent[i].header.ssrc, sent[0].header.ssrc);
        EXPECT_EQ(Bytes(sent[i].payload.begin(), sent[i].payload.end()),
                  Bytes(160, static_cast<UBYTE>(i + 1)));
        EXPECT_EQ(device.payloads[i], Bytes(160, static_cast<UBYTE>(i + 1)));
    }
    EXPECT_EQ(endpoint->rxdiscards, 0U);
}

TEST_F(TestRTPEndPoint, UlawOnTheNetworkIsAlawAtTheDeviceUnlessItRelays) {
    Bytes all(256);
    std::iota(all.begin(), all.end(), UBYTE{0});
    Bytes alaw = all;
    media::UlawToAlaw(alaw.data(), 256);
    Bytes ulaw = all;
    media::AlawToUlaw(ulaw.data(), 256);
    for (const int syscomptype : {media::Alaw, media::Relay}) {
        MakeEndpoint(syscomptype);
        Start(media::Ulaw);
        const bool converts = syscomptype == media::Alaw;
        const size_t before = device.payloads.size();
        PeerSends(PcmU, 1, 0, all);
        ASSERT_TRUE(WaitForPayloads(before + 1));
        EXPECT_EQ(device.payloads.back(), converts ? alaw : all);
        device.Send(all);
        ASSERT_TRUE(WaitForPeer(before + 1));
        const auto packet = peerRtpReceived.Rtp().back();
        EXPECT_EQ(packet.header.payloadType, PcmU);
        EXPECT_EQ(Bytes(packet.payload.begin(), packet.payload.end()), converts ? ulaw : all);
    }
}

TEST_F(TestRTPEndPoint, WhatMustNotReachTheDeviceIsCountedAndNamed) {
    LetMessagesThrough();
    MakeEndpoint();
    Start(media::Alaw);
    PeerSends(PcmA, 10, 0, Bytes(80, 1));
    PeerSends(PcmA, 12, 320, Bytes(80, 2));
    PeerSends(PcmA, 12, 320, Bytes(80, 3));
    PeerSends(PcmA, 11, 160, Bytes(80, 4));
    PeerSends(PcmU, 13, 480, Bytes(80, 5));
    PeerSends(13, 14, 640, Bytes(1, 6));
    PeerSends(Bytes(11, 0x80));
    PeerSends(Hex("8f08000f00000000cafebabe"));
    PeerSends(Hex("b0c80001cafebabe00000000"));
    PeerSends(Events, 15, 800, Bytes(3, 7));
    AsyncSocket* stranger = Open(nullptr);
    SendTo(stranger, Address(rtp),
           Rtp({.payloadType = PcmA, .sequence = 16, .ssrc = PeerSsrc}, Bytes(80, 8)));
    PeerSends(PcmA, 16, 960, Bytes(80, 9));
    PeerSends(PcmA, 17, 1120, {});
    ASSERT_TRUE(WaitForPayloads(4));
    EXPECT_EQ(device.payloads, (std::vector<Bytes>{Bytes(80, 1), Bytes(80, 2), Bytes(80, 9), Bytes()}));
    EXPECT_EQ(rtp->RefusedCount(), 1U);
    EXPECT_EQ(endpoint->rxdiscards, 8U);
    EXPECT_EQ(Stats().dropped_pkt, 8U);
    EXPECT_EQ(Stats().sequence_err, 1U) << "one was missing when a later one came; silence is no loss";
    EXPECT_EQ(Stats().jitter_changed, 0U);
    EXPECT_EQ(console.Count("late packet dropped"), 1);
    EXPECT_EQ(console.Count("packet received twice dropped"), 1);
    EXPECT_EQ(console.Count("malformed telephone event dropped"), 1);
    for (UWORD i = 0; i < 50; i++) PeerSends(Bytes(5, 0xFF));
    ASSERT_TRUE(WaitForDiscards(58));
    EXPECT_LE(console.Count("malformed packet dropped"), 2) << "one a second, however many come";
    stranger->Free();
}

TEST_F(TestRTPEndPoint, NewSourcesAndJumpsAreTakenAtOnce) {
    LetMessagesThrough();
    MakeEndpoint();
    Start(media::Alaw);
    struct Row {
        ULONG ssrc;
        UWORD sequence;
        ULONG timestamp;
    };
    const Row rows[] = {{1, 100, 0},          {1, 101, 160},       {2, 40000, 99999}, {2, 40001, 100159},
                        {2, 5000, 100319},    {2, 5001, 100479},   {1, 102, 320},     {1, 103, 480},
                        {1, 104, 0xF0000000}, {1, 105, 0xF00000A0}};
    for (const Row& row : rows) PeerSends(PcmA, row.sequence, row.timestamp, Bytes(160, 1), row.ssrc);
    ASSERT_TRUE(WaitForPayloads(std::size(rows)));
    EXPECT_EQ(endpoint->rxdiscards, 0U);
    EXPECT_EQ(Stats().jitter_changed, 4U) << "two changes of source, a jump of sequence, one of time stamps";
    EXPECT_EQ(Stats().sequence_err, 1U);
    EXPECT_EQ(console.Count("new stream"), 1) << "once a second";
    // From here on every packet is another source's.
    for (ULONG i = 0; i < 500; i++) {
        PeerSends(PcmA, 1, 1, Bytes(160, 1), 1000 + i);
        ASSERT_TRUE(WaitForPayloads(std::size(rows) + i + 1));
    }
    EXPECT_LE(console.Count("new stream"), 3);
}

TEST_F(TestRTPEndPoint, G729WithComfortNoiseFramesAndEveryShapeOfHeader) {
    MakeEndpoint();
    Start(media::G729);
    PeerSends(G729Type, 1, 0, Bytes(22, 1));
    PeerSends(Hex("b192 0002 000000a0 cafebabe 11111111 bede0001 22222222 aabbccddeeffaabbccdd 000003"));
    ASSERT_TRUE(WaitForPayloads(2));
    EXPECT_EQ(device.payloads[0].size(), 22U);
    EXPECT_EQ(device.payloads[1], Hex("aabbccddeeffaabbccdd"));
    device.Send(Bytes(20, 1));
    device.clock += 140;
    device.Send(Bytes(30, 2));
    ASSERT_TRUE(WaitForPeer(2));
    const auto sent = peerRtpReceived.Rtp();
    EXPECT_EQ(sent[1].header.timestamp, sent[0].header.timestamp + 160);
    EXPECT_FALSE(sent[1].header.marker);
}

TEST_F(TestRTPEndPoint, AfterAPauseTheClockHasRunOnAndTalkStarts) {
    MakeEndpoint();
    Start(media::Alaw);
    device.Send(Bytes(160, 1));
    const ULONG paused = os_clock();
    RunFor(300);
    device.Send(Bytes(160, 2));
    const ULONG elapsed = os_clock() - paused;
    device.Send(Bytes(160, 3));
    ASSERT_TRUE(WaitForPeer(3));
    const auto sent = peerRtpReceived.Rtp();
    const ULONG advance = sent[1].header.timestamp - sent[0].header.timestamp;
    EXPECT_GE(advance, 300U * 8);
    EXPECT_LE(advance, (elapsed + 1) * 8);
    EXPECT_TRUE(sent[1].header.marker);
    EXPECT_FALSE(sent[2].header.marker);
    EXPECT_EQ(sent[2].header.timestamp, sent[1].header.timestamp + 160);
    EXPECT_EQ(sent[2].header.sequence, sent[0].header.sequence + 2);
}

TEST_F(TestRTPEndPoint, DigitsGoOutInPlaceOfAudio) {
    LetMessagesThrough();
    MakeEndpoint();
    Start(media::Alaw);
    device.Send(Bytes(160, 1));
    endpoint->DTMFDigit('5', 100);
    endpoint->DTMFDigit('5', 60);
    endpoint->DTMFDigit('x', 60);
    EXPECT_EQ(console.Count("RTPEndPoint::DTMFDigit - digit 78 dropped"), 1);
    // The device sends on and on; what it sends meanwhile must not go out.
    ASSERT_TRUE(RunUntil([&] {
        device.Send(Bytes(160, 2));
        int ends = 0;
        for (const auto& packet : peerRtpReceived.Rtp()) ends += IsEnd(packet) ? 1 : 0;
        return ends == 6;
    }));
    EXPECT_EQ(device.Send(Bytes(160, 3)), Success);
    const size_t before = peerRtpReceived.datagrams.size();
    ASSERT_TRUE(WaitForPeer(before + 1));
    const auto sent = peerRtpReceived.Rtp();
    std::vector<ULONG> stamps;
    std::vector<int> durations;
    std::vector<UWORD> talkStarts;
    for (size_t i = 0; i < sent.size(); i++) {
        const media::RtpHeader& header = sent[i].header;
        EXPECT_EQ(header.sequence, static_cast<UWORD>(sent[0].header.sequence + i));
        if (header.payloadType == PcmA) {
            EXPECT_TRUE(i == 0 || durations == (std::vector<int>{800, 480})) << "audio within the digits";
            if (header.marker) talkStarts.push_back(static_cast<UWORD>(i));
            continue;
        }
        const bool isNew = stamps.empty() || stamps.back() != header.timestamp;
        EXPECT_EQ(header.marker, isNew);
        if (isNew) stamps.push_back(header.timestamp);
        if (isNew) durations.push_back(0);
        const auto event = media::TelephoneEvent::Parse(sent[i].payload);
        EXPECT_EQ(event->event, 5);
        EXPECT_GE(event->duration, durations.back());
        durations.back() = event->duration;
    }
    ASSERT_EQ(stamps.size(), 2U);
    EXPECT_GE(stamps[1] - stamps[0], 800U + 60 * 8);
    ASSERT_EQ(talkStarts.size(), 2U) << "before the digits and behind them";
    EXPECT_EQ(sent[talkStarts[1] - 1U].header.payloadType, Events);
}

TEST_F(TestRTPEndPoint, DigitsThatArriveAreReportedOnce) {
    MakeEndpoint();
    Start(media::Alaw);
    PeerSends(PcmA, 1, 0, Bytes(160, 1));
    PeerSends(Events, 2, 160, EventPayload(1, false, 160));
    PeerSends(Events, 4, 160, EventPayload(1, true, 480));
    PeerSends(Events, 3, 160, EventPayload(1, false, 320));
    PeerSends(Events, 5, 160, EventPayload(1, true, 480));
    PeerSends(Events, 5, 160, EventPayload(1, true, 480));
    PeerSends(Events, 6, 2000, EventPayload(2, false, 160));
    PeerSends(PcmA, 7, 4000, Bytes(160, 2));
    PeerSends(Events, 8, 6000, EventPayload(3, false, 800));
    PeerSends(Events, 1, 8000, EventPayload(4, true, 800), 77);
    ASSERT_TRUE(RunUntil([&] { return digits.find('4') != std::string::npos; }));
    EXPECT_EQ(digits, "160 220 3100 4100 ");
    PeerSends(Events, 9, 12000, EventPayload(5, false, 800));
    ASSERT_TRUE(RunUntil([&] { return digits.find('5') != std::string::npos; })) << "ended by silence";
    EXPECT_EQ(device.payloads.size(), 2U);
    EXPECT_EQ(endpoint->rxdiscards, 1U) << "the duplicate";
}

TEST_F(TestRTPEndPoint, NothingIsSentToNobody) {
    Recorder socket;
    endpoint = std::make_unique<RTPEndPoint>(SockAddr(), SockAddr(), media::Alaw, true);
    endpoint->BindMediaSource(&device);
    endpoint->BindMediaSink(&device);
    endpoint->BindStreamData(&socket);
    endpoint->DTMFDigit('1', 100);
    endpoint->SetMSA(SockAddr(), SockAddr(), SockAddr(), SockAddr(), media::Alaw, 20, Events);
    EXPECT_EQ(device.Send(Bytes(160, 1)), Blocked);
    endpoint->DTMFDigit('1', 100);
    for (const size_t length : {0, 1, 4}) {
        OSBuf* buf = OSBuf::Alloc(20);
        buf->PushData("....", static_cast<int>(length));
        EXPECT_EQ(endpoint->DatagramIndication(buf, nullptr, nullptr), Blocked);
    }
    RunFor(60);
    EXPECT_TRUE(socket.datagrams.empty());
    endpoint.reset();
    EXPECT_EQ(socket.Bound(), nullptr);
}

// Hold music: a group's datagrams, no control stream, nobody to answer.
TEST_F(TestRTPEndPoint, MulticastIsReceivedWithoutAControlStream) {
    const SockAddr group(0xEF010203, static_cast<UWORD>(peerRtp->LocalPort()));
    auto* multicast = new AsyncSocket(false);
    if (multicast->CreateMulticast(group, AsyncSocket::McReceiveOnly, Here) != 0) {
        multicast->Free();
        GTEST_SKIP() << "no multicast on the loopback interface";
    }
    endpoint = std::make_unique<RTPEndPoint>(group, group, media::Alaw, true);
    endpoint->BindMediaSource(&device);
    endpoint->BindMediaSink(&device);
    endpoint->BindStreamData(multicast);
    endpoint->SetMSA(group, group, SockAddr(), SockAddr(), media::Alaw, 30, Events);
    ASSERT_EQ(peerRtcp->SetMulticastInterface(Here), 0);
    SendTo(peerRtcp, group, Rtp({.payloadType = PcmA, .sequence = 1, .ssrc = 1}, Bytes(240, 7)));
    EXPECT_TRUE(WaitForPayloads(1));
    multicast->Free();
}

struct Keys {
    unsigned char localSalt[14] = {1};
    unsigned char localKey[16] = {2};
    unsigned char remoteSalt[14] = {3};
    unsigned char remoteKey[16] = {4};
};

TEST_F(TestRTPEndPoint, SrtpBothWays) {
    for (const int tag : {4, 10}) {
        SCOPED_TRACE(tag);
        Keys keys;
        MakeEndpoint();
        ASSERT_EQ(endpoint->SRTPEnable(tag, keys.localSalt, keys.localKey, keys.remoteSalt, keys.remoteKey),
                  0);
        Start(media::Alaw);
        const auto outbound = media::SrtpSession::Create(media::SrtpSession::Outbound, tag,
                                                         media::SrtpSession::Key(keys.remoteKey),
                                                         media::SrtpSession::Salt(keys.remoteSalt));
        const auto inbound = media::SrtpSession::Create(media::SrtpSession::Inbound, tag,
                                                        media::SrtpSession::Key(keys.localKey),
                                                        media::SrtpSession::Salt(keys.localSalt));
        const size_t before = device.payloads.size();
        const auto send = [&](UWORD sequence) {
            Bytes packet = Rtp({.payloadType = PcmA, .sequence = sequence, .ssrc = PeerSsrc}, Bytes(80, 5));
            packet.resize(packet.size() + static_cast<size_t>(tag));
            EXPECT_TRUE(outbound->ProtectRtp(packet));
            PeerSends(packet);
            return packet;
        };
        const Bytes first = send(65534);
        send(65535);
        send(0);
        PeerSends(first);
        PeerSends(PcmA, 1, 0, Bytes(80, 6));
        Bytes forged = first;
        forged.back() ^= 1;
        PeerSends(forged);
        send(2);
        ASSERT_TRUE(WaitForPayloads(before + 4));
        EXPECT_EQ(device.payloads.back(), Bytes(80, 5));
        EXPECT_EQ(endpoint->rxdiscards, 3U);

        device.Send(Bytes(160, 9));
        endpoint->DTMFDigit('1', 40);
        const size_t heard = peerRtpReceived.datagrams.size();
        ASSERT_TRUE(WaitForPeer(heard + 2));
        for (size_t i = heard; i < heard + 2; i++) {
            size_t length = 0;
            Bytes packet = peerRtpReceived.datagrams[i];
            ASSERT_EQ(inbound->UnprotectRtp(packet, length), media::SrtpSession::Result::Ok);
            packet.resize(length);
            const auto view = media::RtpHeader::Parse(packet);
            EXPECT_EQ(view->payload.size(), i == heard ? 160U : 4U);
        }
        const size_t controls = peerRtcpReceived.datagrams.size();
        endpoint.reset();
        ASSERT_TRUE(RunUntil([&] { return peerRtcpReceived.datagrams.size() > controls; }));
        size_t length = 0;
        EXPECT_EQ(inbound->UnprotectRtcp(peerRtcpReceived.datagrams.back(), length),
                  media::SrtpSession::Result::Ok);
        peerRtpReceived.datagrams.clear();
        RunFor(1);
    }
}

TEST_F(TestRTPEndPoint, SrtpThatCannotBeHadFailsClosed) {
    Keys keys;
    Recorder data;
    Recorder control;
    MakeEndpoint();
    endpoint->BindStreamData(&data);
    endpoint->BindStreamControl(&control);
    EXPECT_EQ(endpoint->SRTPEnable(5, keys.localSalt, keys.localKey, keys.remoteSalt, keys.remoteKey), -1);
    Start(media::Alaw);
    EXPECT_EQ(device.Send(Bytes(160, 1)), Blocked);
    endpoint->DTMFDigit('1', 40);
    const Bytes packet = Rtp({.payloadType = PcmA, .sequence = 1, .ssrc = 1}, Bytes(80, 1));
    OSBuf* buf = OSBuf::Alloc(static_cast<int>(packet.size()));
    buf->PushData(packet.data(), static_cast<int>(packet.size()));
    data.Bound()->DatagramIndication(buf, nullptr, nullptr);
    EXPECT_EQ(endpoint->rxdiscards, 1U);
    RunFor(100);
    data.Bound()->LowerReleased(&data);
    control.Bound()->LowerReleased(&control);
    EXPECT_TRUE(data.datagrams.empty() && control.datagrams.empty() && device.payloads.empty());
    EXPECT_EQ(endpoint->SRTPEnable(10, nullptr, keys.localKey, keys.remoteSalt, keys.remoteKey), -1);
}

TEST_F(TestRTPEndPoint, EveryOrderOfEndingIsSafe) {
    MakeEndpoint();
    Start(media::Alaw);
    device.Send(Bytes(160, 1));
    PeerSends(Events, 1, 0, EventPayload(1, false, 160));
    ASSERT_TRUE(WaitForPeer(1));
    endpoint->DTMFDigit('1', 200);
    rtp->Free();
    rtp = nullptr;
    EXPECT_EQ(device.Send(Bytes(160, 1)), Blocked);
    endpoint->DTMFDigit('1', 200);
    RunFor(50);
    rtcp->Free();
    rtcp = nullptr;
    EXPECT_TRUE(RunUntil([&] { return HeardControl(media::RtcpPacket::Bye); }));
    endpoint.reset();

    // Endpoint first, with timers running and datagrams on their way.
    rtp = Open(nullptr);
    rtcp = Open(nullptr);
    MakeEndpoint();
    Start(media::Alaw);
    endpoint->DTMFDigit('1', 200);
    PeerSends(PcmA, 1, 0, Bytes(160, 1));
    endpoint.reset();
    EXPECT_EQ(rtp->Bound(), nullptr);
    EXPECT_EQ(rtcp->Bound(), nullptr);
    RunFor(50);
    EXPECT_TRUE(device.payloads.empty());

    // A socket is exchanged for another.
    MakeEndpoint();
    AsyncSocket* other = Open(nullptr);
    endpoint->BindStreamData(other);
    EXPECT_EQ(rtp->Bound(), nullptr);
    rtp->Free();
    rtp = other;
}

// The relay thread sends while the sockets' thread sends digits and takes the socket away.
TEST_F(TestRTPEndPoint, ThreadsShareTheSequence) {
    Recorder data;
    MakeEndpoint();
    endpoint->BindStreamData(&data);
    Start(media::Alaw);
    std::atomic<bool> done{false};
    std::thread relay([&] {
        while (!done) {
            device.Send(Bytes(80, 1));
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 3; i++) {
        endpoint->DTMFDigit('1', 40);
        RunFor(150);
    }
    data.Bound()->LowerReleased(&data);
    const size_t sent = data.datagrams.size();
    RunFor(10);
    done = true;
    relay.join();
    EXPECT_EQ(data.datagrams.size(), sent);
    ASSERT_GT(sent, 10U);
    const auto packets = data.Rtp();
    for (size_t i = 1; i < packets.size(); i++) {
        ASSERT_EQ(packets[i].header.sequence, static_cast<UWORD>(packets[0].header.sequence + i));
    }
}

}  // namespace
