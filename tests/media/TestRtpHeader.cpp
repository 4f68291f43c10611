// RTP packets, well formed and otherwise (RFC 3550, 5.1 and 5.3.1).
#include <gtest/gtest.h>

#include "tests/media/Packets.h"

namespace {

using media::RtpHeader;
using media_test::Bytes;
using media_test::Hex;

constexpr const char* Tail = " 1234 01020304 cafebabe ";

TEST(TestRtpHeader, ParsesWhatFitsAndRefusesTheRest) {
    struct Row {
        const char* name;
        const char* firstTwo;
        const char* rest;
        int payload;  // bytes, -1: refused
    };
    const Row rows[] = {
        {"plain", "8008", "aabbcc", 3},
        {"marker and dynamic type", "80e5", "aabbcc", 3},
        {"no payload", "8008", "", 0},
        {"version 1", "4008", "aabbcc", -1},
        {"version 3", "c008", "aabbcc", -1},
        {"one CSRC", "8108", "11111111 aa", 1},
        {"CSRC cut short", "8108", "111111", -1},
        {"fifteen CSRCs announced, none there", "8f08", "", -1},
        {"extension of no words", "9008", "bede0000 aabb", 2},
        {"extension of two words", "9008", "bede0002 0000000000000000 aa", 1},
        {"extension cut short", "9008", "bede0002 00000000000000", -1},
        {"extension header cut short", "9008", "bede00", -1},
        {"extension of 65535 words", "9008", "bedeffff 00000000", -1},
        {"padding of three", "a008", "aabb 000003", 2},
        {"padding only", "a008", "00000004", 0},
        {"padding counts zero", "a008", "aabb00", -1},
        {"padding longer than the payload", "a008", "aa05", -1},
        {"padding announced, nothing there", "a008", "", -1},
        {"padding that would eat the CSRC", "a108", "11111111 05", -1},
        {"all at once", "b108", "11111111 bede0001 22222222 aabbcc 0002", 3},
        {"padding that would eat the extension", "b008", "bede0001 22222205", -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes datagram = Hex(std::string(row.firstTwo) + Tail + row.rest);
        const auto packet = RtpHeader::Parse(datagram);
        ASSERT_EQ(packet.has_value(), row.payload >= 0);
        if (!packet) continue;
        EXPECT_EQ(packet->payload.size(), static_cast<size_t>(row.payload));
        EXPECT_TRUE(packet->payload.empty() || packet->payload[0] == 0xAA);
        EXPECT_EQ(packet->header.sequence, 0x1234);
        EXPECT_EQ(packet->header.timestamp, 0x01020304U);
        EXPECT_EQ(packet->header.ssrc, 0xCAFEBABEU);
    }
    for (size_t length = 0; length < 12; length++) {
        EXPECT_FALSE(RtpHeader::Parse(Bytes(length, 0x80))) << length;
    }
}

TEST(TestRtpHeader, WritesWhatItParses) {
    const Bytes wire = Hex("b1e5 fffe fffffffd 80000001");
    const auto packet = RtpHeader::Parse(Hex("b1e5 fffe fffffffd 80000001 00000000 bede0000 01"));
    ASSERT_TRUE(packet);
    EXPECT_TRUE(packet->header.marker && packet->header.padding && packet->header.extension);
    EXPECT_EQ(packet->header.payloadType, 101);
    EXPECT_EQ(packet->header.csrcCount, 1);
    EXPECT_EQ(media_test::Rtp(packet->header, {}), wire);
}

}  // namespace
