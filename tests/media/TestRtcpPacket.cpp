// RTCP compounds: what we build is valid and read back; what is not valid is refused (RFC 3550, 6 and A.2).
#include <gtest/gtest.h>

#include <array>

#include "platform/media/RtcpBuilder.h"
#include "tests/media/Packets.h"

namespace {

using media::RtcpBuilder;
using media::RtcpPacket;
using media::RtcpReportBlock;
using media::RtcpSenderInfo;
using media_test::Bytes;
using media_test::Hex;

std::vector<RtcpPacket> Split(std::span<const UBYTE> datagram) {
    std::vector<RtcpPacket> packets;
    while (const auto packet = RtcpPacket::Next(datagram)) packets.push_back(*packet);
    return packets;
}

TEST(TestRtcpPacket, ReportsDescriptionAndByeComeBackAsBuilt) {
    const RtcpReportBlock block{1, 128, -5, 0x0001FFFF, 77, 0xAABBCCDD, 65536};
    const RtcpReportBlock other{2, 0, 0x7FFFFF, 9, 0, 0, 0};
    const std::array<RtcpReportBlock, 2> blocks{block, other};
    std::array<UBYTE, 256> room;
    RtcpBuilder builder(room);
    builder.AddSenderReport(0xCAFEBABE, RtcpSenderInfo{0x0123456789ABCDEF, 1000, 50, 8000}, blocks);
    builder.AddCname(0xCAFEBABE, "rtp6300@127.0.0.2");
    builder.AddBye(0xCAFEBABE);
    const std::span<const UBYTE> compound = std::span(room).first(builder.Size());
    ASSERT_TRUE(RtcpPacket::IsCompound(compound));

    const std::vector<RtcpPacket> packets = Split(compound);
    ASSERT_EQ(packets.size(), 3U);
    EXPECT_EQ(packets[0].PacketType(), RtcpPacket::SenderReport);
    EXPECT_EQ(packets[0].Ssrc(), 0xCAFEBABEU);
    const auto info = packets[0].SenderInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->NtpMiddle(), 0x456789ABU);
    EXPECT_EQ(info->rtpTimestamp, 1000U);
    EXPECT_EQ(info->packets, 50U);
    EXPECT_EQ(info->octets, 8000U);
    ASSERT_EQ(packets[0].BlockCount(), 2);
    const RtcpReportBlock read = packets[0].Block(0);
    EXPECT_EQ(read.ssrc, block.ssrc);
    EXPECT_EQ(read.fractionLost, block.fractionLost);
    EXPECT_EQ(read.cumulativeLost, -5);
    EXPECT_EQ(read.highestSequence, block.highestSequence);
    EXPECT_EQ(read.jitter, block.jitter);
    EXPECT_EQ(read.lastSr, block.lastSr);
    EXPECT_EQ(read.delaySinceLastSr, block.delaySinceLastSr);
    EXPECT_EQ(packets[0].Block(1).cumulativeLost, 0x7FFFFF);
    EXPECT_EQ(packets[1].Cname(), "rtp6300@127.0.0.2");
    EXPECT_TRUE(packets[2].Leaves(0xCAFEBABE));
    EXPECT_FALSE(packets[2].Leaves(1));
}

TEST(TestRtcpPacket, BuilderRefusesWhatDoesNotFit) {
    std::array<UBYTE, 12> small;
    RtcpBuilder builder(small);
    builder.AddReceiverReport(1, {});
    EXPECT_EQ(builder.Size(), 8U);
    builder.AddCname(1, "a");
    EXPECT_EQ(builder.Size(), 0U);

    std::vector<UBYTE> large(4096);
    const std::vector<RtcpReportBlock> blocks(32);
    RtcpBuilder tooMany(large);
    tooMany.AddReceiverReport(1, blocks);
    EXPECT_EQ(tooMany.Size(), 0U);

    // Every length of a name ends in zero bytes up to a whole word.
    for (size_t length = 0; length <= 300; length++) {
        RtcpBuilder named(large);
        named.AddReceiverReport(1, {});
        named.AddCname(1, std::string(length, 'n'));
        const std::span<const UBYTE> compound = std::span(large).first(named.Size());
        ASSERT_TRUE(RtcpPacket::IsCompound(compound)) << length;
        EXPECT_EQ(compound.back(), 0);
        EXPECT_EQ(Split(compound)[1].Cname().size(), std::min<size_t>(length, 255));
    }
}

TEST(TestRtcpPacket, CompoundsAreChecked) {
    struct Row {
        const char* name;
        const char* bytes;
        bool valid;
    };
    const Row rows[] = {
        {"empty", "", false},
        {"three bytes", "80c900", false},
        {"empty receiver report", "80c90001 00000001", true},
        {"report without its SSRC", "80c90000", true},
        {"version 1", "40c90001 00000001", false},
        {"description first", "81ca0002 00000001 00000000", false},
        {"BYE first", "81cb0001 00000001", false},
        {"RTP packet", "80080001 00000001 00000001", false},
        {"length beyond the datagram", "80c90002 00000001", false},
        {"bytes behind the last", "80c90001 00000001 80", false},
        {"second packet of version 0", "80c90001 00000001 01cb0001 00000001", false},
        {"unknown second packet", "80c90001 00000001 80cf0001 00000001", true},
        {"padding in the first", "a0c90002 00000001 00000004", false},
        {"padding in the last", "80c90001 00000001 a1cb0002 00000001 00000004", true},
        {"padding in the middle", "80c90001 00000001 a1cb0002 00000001 00000004 81cb0001 00000001", false},
        {"padding longer than the packet", "80c90001 00000001 a1cb0001 00000009", false},
        {"padding of none", "80c90001 00000001 a1cb0001 00000000", false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(RtcpPacket::IsCompound(Hex(row.bytes)), row.valid) << row.name;
    }
}

TEST(TestRtcpPacket, CountsAreHeldAgainstTheLengthOfTheirPacket) {
    // Thirty-one blocks announced, one there, and another packet behind that must not be read as blocks.
    const Bytes blocks = Hex("9fc90007 00000001" + std::string(48, '1') + "81cb0001 00000001");
    ASSERT_TRUE(RtcpPacket::IsCompound(blocks));
    EXPECT_EQ(Split(blocks)[0].BlockCount(), 1);
    EXPECT_EQ(Split(Hex("81c90000"))[0].BlockCount(), 0);
    EXPECT_EQ(Split(Hex("81c90000"))[0].Ssrc(), 0U);
    EXPECT_FALSE(Split(Hex("80c80005 00000001 00000002 00000003 00000004 00000005"))[0].SenderInfo());
    // Five sources leave, two are named.
    const Bytes bye = Hex("85cb0002 00000001 00000002");
    EXPECT_TRUE(Split(bye)[0].Leaves(2));
    EXPECT_FALSE(Split(bye)[0].Leaves(0));

    struct Row {
        const char* items;
        const char* cname;
    };
    const Row rows[] = {
        {"81ca0003 00000001 01034142 43000000", "ABC"},
        {"81ca0003 00000001 0201580 1024142 00", "AB"},  // a NAME before it
        {"81ca0002 00000001 01094142", ""},              // longer than the packet
        {"81ca0002 00000001 00034142", ""},              // behind the end of the list
        {"80ca0002 00000001 01024142", ""},              // no chunk announced
        {"81ca0001 00000001", ""},
        {"81ca0000", ""},
    };
    for (const Row& row : rows) {
        const Bytes datagram = Hex(row.items);
        const std::vector<RtcpPacket> packets = Split(datagram);
        ASSERT_EQ(packets.size(), 1U) << row.items;
        EXPECT_EQ(packets[0].Cname(), row.cname) << row.items;
    }
}

}  // namespace
