// The control protocol of an endpoint, as a plain UDP peer sees it.
#include "platform/kernel/OperatingSystem.h"
#include "platform/media/RtcpBuilder.h"
#include "tests/media/EndPointTest.h"

namespace {

using namespace media_test;
using media::RtcpBuilder;
using media::RtcpPacket;
using media::RtcpReportBlock;

constexpr UBYTE PcmA = 8;

class TestRtcpControl : public EndPointTest {
 protected:
    void PeerReports(RtcpBuilder& builder, std::span<UBYTE> room) {
        SendTo(peerRtcp, Address(rtcp),
               Bytes(room.begin(), room.begin() + static_cast<long>(builder.Size())));
    }
    // The packets of the newest compound that the peer has heard.
    std::vector<RtcpPacket> Newest() const {
        std::vector<RtcpPacket> packets;
        EXPECT_TRUE(RtcpPacket::IsCompound(peerRtcpReceived.datagrams.back()));
        std::span<const UBYTE> rest = peerRtcpReceived.datagrams.back();
        while (const auto packet = RtcpPacket::Next(rest)) packets.push_back(*packet);
        return packets;
    }
    bool WaitForControl(size_t count) {
        return RunUntil([&] { return peerRtcpReceived.datagrams.size() >= count; }, 10000);
    }
};

TEST_F(TestRtcpControl, ReportsWhatWasSentAndHeardAndSaysBye) {
    MakeEndpoint();
    Start(media::Alaw);
    for (int i = 0; i < 3; i++) device.Send(Bytes(160, 1));
    ASSERT_TRUE(WaitForPeer(3));
    const ULONG ssrc = peerRtpReceived.Rtp()[0].header.ssrc;
    for (const UWORD sequence : {65535, 0, 2, 3}) PeerSends(PcmA, sequence, 0, Bytes(80, 1));
    ASSERT_TRUE(WaitForPayloads(4));
    std::array<UBYTE, 256> room;
    RtcpBuilder report(room);
    RtcpReportBlock ours;
    ours.ssrc = ssrc;
    ours.cumulativeLost = 17;
    report.AddSenderReport(PeerSsrc, {0x1111222233334444, 0, 4, 320}, std::span(&ours, 1));
    report.AddCname(PeerSsrc, "peer");
    PeerReports(report, room);

    ASSERT_TRUE(WaitForControl(1));
    auto packets = Newest();
    ASSERT_EQ(packets.size(), 2U);
    const auto info = packets[0].SenderInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(packets[0].Ssrc(), ssrc);
    EXPECT_EQ(info->packets, 3U);
    EXPECT_EQ(info->octets, 480U);
    timeval wall{};
    kernel::System().WallClock(wall);
    EXPECT_NEAR(static_cast<double>(info->ntp >> 32), static_cast<double>(wall.tv_sec) + 2208988800.0, 2);
    ASSERT_EQ(packets[0].BlockCount(), 1);
    const RtcpReportBlock block = packets[0].Block(0);
    EXPECT_EQ(block.ssrc, PeerSsrc);
    EXPECT_EQ(block.highestSequence, 0x10003U);
    EXPECT_EQ(block.cumulativeLost, 1);
    EXPECT_EQ(block.fractionLost, 256 / 5);
    EXPECT_EQ(block.lastSr, 0x22223333U);
    EXPECT_GT(block.delaySinceLastSr, 0U);
    EXPECT_LT(block.delaySinceLastSr, 10U << 16);
    EXPECT_EQ(packets[1].Cname(), "rtp" + std::to_string(rtp->LocalPort()) + "@127.0.0.1");

    // The peer answers half a second after the report, of which it says so; the rest is the round trip.
    ours.lastSr = info->NtpMiddle();
    ours.delaySinceLastSr = 0x8000;
    RunFor(520);
    RtcpBuilder answer(room);
    answer.AddReceiverReport(PeerSsrc, std::span(&ours, 1));
    PeerReports(answer, room);
    RunFor(20);

    rtp->Free();
    rtp = nullptr;
    const size_t before = peerRtcpReceived.datagrams.size();
    rtcp->Free();
    rtcp = nullptr;
    ASSERT_TRUE(WaitForControl(before + 1));
    packets = Newest();
    ASSERT_EQ(packets.size(), 3U);
    EXPECT_TRUE(packets[2].Leaves(ssrc));
    EXPECT_EQ(console.Count("peer reported 17 packets lost"), 1);
    int trip = -1;
    for (const std::string& line : console.Lines()) {
        const size_t at = line.find("round trip ");
        if (at != std::string::npos) trip = std::stoi(line.substr(at + 11));
    }
    EXPECT_GE(trip, 15);
    EXPECT_LE(trip, 2000);
    EXPECT_EQ(endpoint->rxdiscards, 0U);
}

TEST_F(TestRtcpControl, WhoNeverSentReportsAsReceiverAndWhoNeverSpokeSaysNothing) {
    Recorder control;
    MakeEndpoint();
    endpoint->BindStreamControl(&control);
    Start(media::Alaw);
    control.Bound()->LowerReleased(&control);
    EXPECT_TRUE(control.datagrams.empty()) << "RFC 3550, 6.3.7";

    endpoint->BindStreamControl(rtcp);
    Start(media::Alaw);
    PeerSends(PcmA, 7, 0, Bytes(80, 1));
    ASSERT_TRUE(WaitForControl(1));
    const auto packets = Newest();
    EXPECT_EQ(packets[0].PacketType(), RtcpPacket::ReceiverReport);
    EXPECT_EQ(packets[0].BlockCount(), 1);
    endpoint.reset();
    EXPECT_TRUE(RunUntil([&] { return HeardControl(RtcpPacket::Bye); }));
}

TEST_F(TestRtcpControl, ByeEndsThePeersStreamAndItsPendingDigit) {
    MakeEndpoint();
    Start(media::Alaw);
    PeerSends(PcmA, 100, 0, Bytes(80, 1));
    PeerSends(media::DtmfPayloadType, 101, 160, EventPayload(3, false, 800));
    ASSERT_TRUE(WaitForPayloads(1));
    std::array<UBYTE, 256> room;
    RtcpBuilder bye(room);
    bye.AddReceiverReport(PeerSsrc, {});
    bye.AddBye(PeerSsrc);
    ASSERT_TRUE(RunUntil([&] {
        PeerReports(bye, room);
        return digits == "3100 ";
    }));
    PeerSends(PcmA, 99, 0, Bytes(80, 2));
    ASSERT_TRUE(WaitForPayloads(2)) << "what was late is the first of a new stream";
    EXPECT_EQ(endpoint->rxdiscards, 0U);
    EXPECT_EQ(Stats().jitter_changed, 0U);
}

TEST_F(TestRtcpControl, MalformedControlPacketsAreCountedAndNamed) {
    MakeEndpoint();
    Start(media::Alaw);
    for (const char* hex : {"", "80", "80c9000200000001", "81cb0001cafebabe", "9fc80006cafebabe"}) {
        SendTo(peerRtcp, Address(rtcp), Hex(hex));
    }
    ASSERT_TRUE(WaitForDiscards(5));
    EXPECT_LE(console.Count("malformed control packet dropped"), 2);
}

}  // namespace
