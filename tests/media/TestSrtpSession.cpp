// SRTP and SRTCP: libsrtp's own reference packets, and what reaches us of a stream over a bad network.
#include <gtest/gtest.h>

#include <memory>

#include "platform/media/SrtpSession.h"
#include "tests/media/Packets.h"

namespace {

using media::SrtpSession;
using media_test::Bytes;
using media_test::Hex;
using enum SrtpSession::Result;

// Keys and packets of libsrtp's test program (srtp_driver).
const Bytes TestKey = Hex("e1f97a0d3e018be0d64fa32c06de4139");
const Bytes TestSalt = Hex("0ec675ad498afeebb6960b3aabe6");
const std::string SixteenBytes = "abababababababababababababababab";

std::unique_ptr<SrtpSession> Make(SrtpSession::Direction direction, int tag, const Bytes& key = TestKey) {
    return SrtpSession::Create(direction, tag, SrtpSession::Key(key.data(), SrtpSession::KeySize),
                               SrtpSession::Salt(TestSalt.data(), SrtpSession::SaltSize));
}

Bytes Plain(ULONG ssrc, UWORD sequence) {
    return media_test::Rtp({.sequence = sequence, .timestamp = 160U * sequence, .ssrc = ssrc},
                           Hex(SixteenBytes));
}

Bytes Protect(SrtpSession& session, Bytes packet) {
    packet.resize(packet.size() + static_cast<size_t>(session.RtpOverhead()));
    EXPECT_TRUE(session.ProtectRtp(packet));
    return packet;
}

SrtpSession::Result Receive(SrtpSession& session, Bytes packet, const Bytes* expected = nullptr) {
    size_t length = 0;
    const SrtpSession::Result result = session.UnprotectRtp(packet, length);
    if (result == Ok && expected != nullptr) {
        packet.resize(length);
        EXPECT_EQ(packet, *expected);
    }
    return result;
}

TEST(TestSrtpSession, ReferencePackets) {
    const Bytes plain = Hex("800f1234decafbadcafebabe" + SixteenBytes);
    const Bytes reference =
        Hex("800f1234decafbadcafebabe4e55dc4ce79978d88ca4d215949d2402b78d6acc99ea179b8dbb");
    const auto sender = Make(SrtpSession::Outbound, 10);
    ASSERT_NE(sender, nullptr);
    EXPECT_EQ(Protect(*sender, plain), reference);
    const auto receiver = Make(SrtpSession::Inbound, 10);
    EXPECT_EQ(Receive(*receiver, reference, &plain), Ok);

    const Bytes plainControl = Hex("81c8000bcafebabe" + SixteenBytes);
    const Bytes referenceControl =
        Hex("81c8000bcafebabe7128035be487b9bdbef89041f977a5a880000001993e08cd54d6c1230798");
    Bytes control = plainControl;
    control.resize(control.size() + SrtpSession::RtcpOverhead);
    EXPECT_TRUE(sender->ProtectRtcp(control));
    EXPECT_EQ(control, referenceControl);
    size_t length = 0;
    EXPECT_EQ(receiver->UnprotectRtcp(control, length), Ok);
    control.resize(length);
    EXPECT_EQ(control, plainControl);
}

TEST(TestSrtpSession, TagLengthsTamperingReplayAndWrongKeys) {
    EXPECT_EQ(Make(SrtpSession::Outbound, 0), nullptr);
    EXPECT_EQ(Make(SrtpSession::Inbound, 8), nullptr);
    for (const int tag : {4, 10}) {
        SCOPED_TRACE(tag);
        const auto sender = Make(SrtpSession::Outbound, tag);
        const auto receiver = Make(SrtpSession::Inbound, tag);
        const auto stranger = Make(SrtpSession::Inbound, tag, Bytes(SrtpSession::KeySize, 7));
        const auto otherTag = Make(SrtpSession::Inbound, 14 - tag);
        const Bytes plain = Plain(1, 100);
        const Bytes packet = Protect(*sender, plain);
        ASSERT_EQ(packet.size(), plain.size() + static_cast<size_t>(tag));
        EXPECT_EQ(Receive(*stranger, packet), Refused);
        EXPECT_EQ(Receive(*otherTag, packet), Refused);
        EXPECT_EQ(Receive(*receiver, plain), Refused);
        for (size_t at = 0; at < packet.size(); at++) {
            Bytes tampered = packet;
            tampered[at] ^= 0x10;
            EXPECT_EQ(Receive(*receiver, tampered), Refused) << at;
        }
        for (size_t length = 0; length < packet.size(); length++) {
            EXPECT_EQ(Receive(*receiver, Bytes(packet.begin(), packet.begin() + static_cast<long>(length))),
                      Refused)
                << length;
        }
        EXPECT_EQ(Receive(*receiver, packet, &plain), Ok) << "failures must not have changed anything";
        EXPECT_EQ(Receive(*receiver, packet), Replayed);
        const Bytes next = Plain(1, 101);
        EXPECT_EQ(Receive(*receiver, Protect(*sender, next), &next), Ok);
    }
}

TEST(TestSrtpSession, ControlPacketsHaveTheLongTagAndAreChecked) {
    const auto sender = Make(SrtpSession::Outbound, 4);
    const auto receiver = Make(SrtpSession::Inbound, 4);
    Bytes control = Hex("80c9000100000001");
    const Bytes plain = control;
    control.resize(control.size() + 14);
    ASSERT_TRUE(sender->ProtectRtcp(control));
    size_t length = 0;
    for (size_t at = 0; at < control.size(); at++) {
        Bytes tampered = control;
        tampered[at] ^= 1;
        EXPECT_EQ(receiver->UnprotectRtcp(tampered, length), Refused) << at;
        Bytes cut(control.begin(), control.begin() + static_cast<long>(at));
        EXPECT_EQ(receiver->UnprotectRtcp(cut, length), Refused) << at;
    }
    Bytes copy = control;
    EXPECT_EQ(receiver->UnprotectRtcp(control, length), Ok);
    EXPECT_EQ(length, plain.size());
    EXPECT_EQ(receiver->UnprotectRtcp(copy, length), Replayed);
}

TEST(TestSrtpSession, ReorderingAroundTheWrapWithDuplicatesAndReplays) {
    struct Row {
        const char* name;
        std::vector<UWORD> sent;
        std::vector<std::pair<UWORD, SrtpSession::Result>> received;
    };
    const Row rows[] = {
        {"around the wrap",
         {65533, 65534, 65535, 0, 1, 2},
         {{65533, Ok},
          {65535, Ok},
          {0, Ok},
          {65535, Replayed},
          {1, Ok},
          {65534, Ok},
          {65534, Replayed},
          {2, Ok},
          {65533, Replayed},
          {0, Replayed}}},
        {"first packet just below the wrap, the next lost", {65534, 65535, 0, 1}, {{65534, Ok}, {1, Ok}}},
        {"all before the wrap lost", {65530, 65535, 0, 1, 2}, {{1, Ok}, {2, Ok}, {0, Ok}, {1, Replayed}}},
        {"starts in the lower half, early loss", {5, 6, 7, 8}, {{8, Ok}, {7, Ok}, {5, Ok}, {5, Replayed}}},
    };
    for (const int tag : {4, 10}) {
        for (const Row& row : rows) {
            const auto sender = Make(SrtpSession::Outbound, tag);
            const auto receiver = Make(SrtpSession::Inbound, tag);
            std::vector<std::pair<UWORD, Bytes>> wire;
            for (const UWORD sequence : row.sent) {
                wire.emplace_back(sequence, Protect(*sender, Plain(7, sequence)));
            }
            for (const auto& [sequence, result] : row.received) {
                for (const auto& [number, packet] : wire) {
                    const Bytes plain = Plain(7, sequence);
                    if (number != sequence) continue;
                    EXPECT_EQ(Receive(*receiver, packet, &plain), result) << row.name << ' ' << sequence;
                }
            }
        }
    }
}

TEST(TestSrtpSession, RollOverOutlivesAnotherSourceAndForgeries) {
    const auto sender = Make(SrtpSession::Outbound, 10);
    const auto other = Make(SrtpSession::Outbound, 10);
    const auto receiver = Make(SrtpSession::Inbound, 10);
    for (const UWORD sequence : {65534, 65535, 0, 1}) {
        EXPECT_EQ(Receive(*receiver, Protect(*sender, Plain(1, sequence))), Ok);
    }
    for (UWORD sequence = 40000; sequence < 40010; sequence++) {
        EXPECT_EQ(Receive(*receiver, Protect(*other, Plain(2, sequence))), Ok);
        EXPECT_NE(Receive(*receiver, Plain(1, sequence)), Ok);
    }
    EXPECT_EQ(Receive(*receiver, Protect(*sender, Plain(1, 2))), Ok) << "in roll-over 1";
}

TEST(TestSrtpSession, PacketsAreNoLongerThanUdpCarries) {
    const auto sender = Make(SrtpSession::Outbound, 10);
    const auto receiver = Make(SrtpSession::Inbound, 10);
    Bytes packet = Plain(1, 1);
    packet.resize(65536);
    EXPECT_FALSE(sender->ProtectRtp(packet));
    EXPECT_FALSE(sender->ProtectRtcp(packet));
    packet.pop_back();
    EXPECT_TRUE(sender->ProtectRtp(packet));
    Bytes longer = packet;
    longer.push_back(0);
    size_t length = 0;
    EXPECT_EQ(receiver->UnprotectRtp(longer, length), Refused);
    EXPECT_EQ(receiver->UnprotectRtcp(longer, length), Refused);
    EXPECT_EQ(receiver->UnprotectRtp(packet, length), Ok);
}

TEST(TestSrtpSession, NoKeystreamIsUsedTwice) {
    const auto sender = Make(SrtpSession::Outbound, 10);
    const auto protects = [&](ULONG ssrc, UWORD sequence) {
        Bytes packet = Plain(ssrc, sequence);
        packet.resize(packet.size() + 10);
        return sender->ProtectRtp(packet);
    };
    EXPECT_TRUE(protects(1, 1000));
    EXPECT_FALSE(protects(1, 1000)) << "repeated";
    EXPECT_TRUE(protects(1, 900)) << "earlier, but not used yet";
    EXPECT_FALSE(protects(1, 900));
    EXPECT_FALSE(protects(1, 1000 - 128)) << "who knows whether it was used";
    EXPECT_TRUE(protects(1, 1001));
    // A source is not forgotten for another, and what was refused above took no place.
    for (ULONG ssrc = 2; ssrc <= SrtpSession::MaxSources; ssrc++) EXPECT_TRUE(protects(ssrc, 1000));
    EXPECT_FALSE(protects(99, 1000));
    for (ULONG ssrc = 1; ssrc <= SrtpSession::MaxSources; ssrc++) EXPECT_FALSE(protects(ssrc, 1000));
    Bytes control = Hex("80c9000100000063");
    control.resize(control.size() + SrtpSession::RtcpOverhead);
    EXPECT_FALSE(sender->ProtectRtcp(control));
    control[7] = 1;
    EXPECT_TRUE(sender->ProtectRtcp(control));
}

TEST(TestSrtpSession, EachDirectionRefusesTheOther) {
    const auto sender = Make(SrtpSession::Outbound, 10);
    const auto receiver = Make(SrtpSession::Inbound, 10);
    Bytes packet = Plain(1, 1);
    packet.resize(packet.size() + 10);
    EXPECT_FALSE(receiver->ProtectRtp(packet));
    EXPECT_EQ(Receive(*sender, Protect(*sender, Plain(1, 2))), Refused);
    Bytes control = Hex("80c9000100000001");
    control.resize(control.size() + SrtpSession::RtcpOverhead);
    EXPECT_FALSE(receiver->ProtectRtcp(control));
    ASSERT_TRUE(sender->ProtectRtcp(control));
    size_t length = 0;
    EXPECT_EQ(sender->UnprotectRtcp(control, length), Refused);
}

TEST(TestSrtpSession, WrappedFirstPacketIsFoundAfterControlPacketsAndForgeries) {
    const auto sender = Make(SrtpSession::Outbound, 10);
    const auto receiver = Make(SrtpSession::Inbound, 10);
    Bytes control = Hex("80c9000100000001");
    control.resize(control.size() + SrtpSession::RtcpOverhead);
    ASSERT_TRUE(sender->ProtectRtcp(control));
    size_t length = 0;
    EXPECT_EQ(receiver->UnprotectRtcp(control, length), Ok);
    Protect(*sender, Plain(1, 65535));
    const Bytes first = Protect(*sender, Plain(1, 3));
    for (int i = 0; i < 63; i++) EXPECT_EQ(Receive(*receiver, Bytes(Plain(1, 3))), Refused);
    EXPECT_EQ(Receive(*receiver, first), Ok);
    // No more attempts than that, until somebody is heard.
    const auto late = Make(SrtpSession::Inbound, 10);
    for (int i = 0; i < 64; i++) EXPECT_EQ(Receive(*late, Bytes(Plain(1, 3))), Refused);
    EXPECT_EQ(Receive(*late, first), Refused);
    EXPECT_EQ(Receive(*late, Protect(*sender, Plain(2, 10))), Ok);
    EXPECT_EQ(Receive(*late, first), Ok);
}

TEST(TestSrtpSession, OnlyAFirstPacketNearTheWrapIsTakenForWrapped) {
    const auto sender = Make(SrtpSession::Outbound, 10);
    const Bytes before = Protect(*sender, Plain(1, 2100));
    for (const UWORD sequence : {34000, 65535}) Protect(*sender, Plain(1, sequence));
    const Bytes near = Protect(*sender, Plain(1, 2047));
    const Bytes far = Protect(*sender, Plain(1, 2048));
    EXPECT_EQ(Receive(*Make(SrtpSession::Inbound, 10), near), Ok);
    EXPECT_EQ(Receive(*Make(SrtpSession::Inbound, 10), far), Refused);
    const auto receiver = Make(SrtpSession::Inbound, 10);
    EXPECT_EQ(Receive(*receiver, before), Ok);
    EXPECT_EQ(Receive(*receiver, near), Refused);
}

TEST(TestSrtpSession, SourcesWithoutEndKeepABoundedNumberOfContexts) {
    const auto protect = [](ULONG ssrc, UWORD sequence) {
        return Protect(*Make(SrtpSession::Outbound, 10), Plain(ssrc, sequence));
    };
    const auto receiver = Make(SrtpSession::Inbound, 10);
    constexpr ULONG Newest = 3 * SrtpSession::MaxSources;
    for (ULONG ssrc = 1; ssrc <= Newest; ssrc++) {
        EXPECT_EQ(Receive(*receiver, protect(ssrc, 10)), Ok);
        EXPECT_EQ(Receive(*receiver, protect(ssrc, 10)), Replayed);
    }
    // The first context is gone, and with it the memory of what it received; it has now taken the place of
    // the oldest.
    EXPECT_EQ(Receive(*receiver, protect(1, 10)), Ok);
    EXPECT_EQ(Receive(*receiver, protect(Newest - SrtpSession::MaxSources + 1, 10)), Ok);
    // Made-up sources leave no context.
    for (ULONG ssrc = 1000; ssrc < 2000; ssrc++) {
        EXPECT_EQ(Receive(*receiver, Bytes(Plain(ssrc, 5))), Refused);
    }
    EXPECT_EQ(Receive(*receiver, protect(Newest, 10)), Replayed);
    EXPECT_EQ(Receive(*receiver, protect(Newest, 11)), Ok);
}

}  // namespace
