// Our SRTP and libsrtp2's: each makes of a packet what the other makes of it, opens what the other protects,
// and judges as the other does what a bad network or a bad neighbour makes of a stream.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "platform/media/ByteOrder.h"
#include "tests/media/Packets.h"
#include "tests/media/SrtpPeer.h"

namespace {

using media::SrtpSession;
using media_test::Bytes;
using media_test::SrtpPeer;
using Result = SrtpSession::Result;

constexpr std::array<UBYTE, SrtpSession::KeySize> Key{0x4A, 0x11, 0xC3, 9, 8, 7,    6,
                                                      5,    4,    3,    2, 1, 0xFF, 0xEE};
constexpr std::array<UBYTE, SrtpSession::SaltSize> Salt{0x31, 0x41, 0x59, 0x26, 0x53, 0x58, 0x97};

enum Protocol { Rtp, Rtcp };

// One of each kind, in both directions.
struct Sessions {
    explicit Sessions(int tag)
        : tag(static_cast<size_t>(tag)),
          out(SrtpSession::Create(SrtpSession::Outbound, tag, Key, Salt)),
          in(SrtpSession::Create(SrtpSession::Inbound, tag, Key, Salt)),
          peerOut(SrtpSession::Outbound, tag, Key, Salt),
          peerIn(SrtpSession::Inbound, tag, Key, Salt) {
        EXPECT_TRUE(peerOut.IsReady() && peerIn.IsReady());
    }

    // What both make of it; nothing when both refuse.
    Bytes Protect(Protocol protocol, const Bytes& plain) {
        Bytes ours = plain;
        ours.resize(plain.size() + (protocol == Rtp ? tag : SrtpSession::RtcpOverhead));
        Bytes theirs = ours;
        const bool made = protocol == Rtp ? out->ProtectRtp(ours) : out->ProtectRtcp(ours);
        EXPECT_EQ(made, protocol == Rtp ? peerOut.ProtectRtp(theirs) : peerOut.ProtectRtcp(theirs));
        if (!made) return {};
        EXPECT_EQ(ours, theirs);
        return ours;
    }

    static Result Open(auto& session, Protocol protocol, Bytes& packet) {
        size_t length = 0;
        const Result result =
            protocol == Rtp ? session.UnprotectRtp(packet, length) : session.UnprotectRtcp(packet, length);
        if (result == Result::Ok) packet.resize(length);
        return result;
    }
    // What both judge of it, and that they judge alike.
    Result Open(Protocol protocol, const Bytes& packet, const Bytes* plain = nullptr) {
        Bytes ours = packet;
        Bytes theirs = packet;
        const Result result = Open(*in, protocol, ours);
        const Result peerResult = Open(peerIn, protocol, theirs);
        // A header that reaches into the tag is malformed for us, whatever its sequence number; libsrtp2
        // looks at that first.
        if (result == Result::Refused && peerResult == Result::Replayed && IsMalformed(protocol, packet)) {
            return result;
        }
        EXPECT_EQ(static_cast<int>(result), static_cast<int>(peerResult));
        if (result != Result::Ok) return result;
        EXPECT_EQ(ours, theirs);
        if (plain != nullptr) {
            EXPECT_EQ(ours, *plain);
        }
        return result;
    }

    bool IsMalformed(Protocol protocol, std::span<const UBYTE> packet) const {
        if (protocol == Rtcp) return false;
        return packet.size() < tag || !media::RtpHeader::SizeIn(packet.first(packet.size() - tag));
    }

    const size_t tag;
    std::unique_ptr<SrtpSession> out;
    std::unique_ptr<SrtpSession> in;
    SrtpPeer peerOut;
    SrtpPeer peerIn;
};

struct Shape {
    int csrcs = 0;
    int extensionWords = -1;  // none
    bool padding = false;
};

Bytes MakeRtp(ULONG ssrc, UWORD sequence, size_t payload, Shape shape = {}) {
    Bytes behind(size_t{4} * static_cast<size_t>(shape.csrcs), 0x77);
    if (shape.extensionWords >= 0) {
        behind.insert(behind.end(), {0xBE, 0xDE, 0, static_cast<UBYTE>(shape.extensionWords)});
        behind.insert(behind.end(), size_t{4} * static_cast<size_t>(shape.extensionWords), 0x55);
    }
    for (size_t i = 0; i < payload; i++) behind.push_back(static_cast<UBYTE>(i * 7 + sequence));
    if (shape.padding && payload > 0) behind.back() = 1;
    return media_test::Rtp({.padding = shape.padding,
                            .extension = shape.extensionWords >= 0,
                            .csrcCount = static_cast<UBYTE>(shape.csrcs),
                            .payloadType = 8,
                            .sequence = sequence,
                            .timestamp = 160U * sequence,
                            .ssrc = ssrc},
                           behind);
}

Bytes MakeRtcp(ULONG ssrc, size_t body) {
    Bytes packet{0x80, 200, 0, static_cast<UBYTE>(body / 4 + 1), 0, 0, 0, 0};
    media::Put32(&packet[4], ssrc);
    for (size_t i = 0; i < body; i++) packet.push_back(static_cast<UBYTE>(i * 3));
    return packet;
}

TEST(TestSrtpInterop, EveryShapeAndSizeIsTheSameAndOpens) {
    constexpr Shape Shapes[] = {{},
                                {.csrcs = 1},
                                {.csrcs = 15},
                                {.extensionWords = 0},
                                {.extensionWords = 3},
                                {.padding = true},
                                {.csrcs = 2, .extensionWords = 20, .padding = true}};
    for (const int tag : {4, 10}) {
        SCOPED_TRACE(tag);
        Sessions sessions(tag);
        UWORD sequence = 65000;  // over the wrap
        for (size_t size = 0; size <= 1400; size++) {
            for (const Shape& shape : Shapes) {
                const ULONG ssrc = 0xFFFFFFF0U + static_cast<ULONG>(size % 5);
                const Bytes plain = MakeRtp(ssrc, sequence, size, shape);
                ASSERT_EQ(sessions.Open(Rtp, sessions.Protect(Rtp, plain), &plain), Result::Ok) << size;
                sequence++;
            }
            const Bytes control = MakeRtcp(static_cast<ULONG>(size % 7), size);
            ASSERT_EQ(sessions.Open(Rtcp, sessions.Protect(Rtcp, control), &control), Result::Ok) << size;
        }
    }
}

TEST(TestSrtpInterop, HeadersThatDoNotFitAreRefused) {
    Sessions sessions(10);
    Bytes manyCsrcs = MakeRtp(1, 1, 59);
    manyCsrcs[0] |= 15;
    Bytes longExtension = MakeRtp(1, 2, 20, {.extensionWords = 3});
    media::Put16(&longExtension[14], 9);
    Bytes noExtension = MakeRtp(1, 3, 3);
    noExtension[0] |= 0x10;
    for (const Bytes& plain : {manyCsrcs, longExtension, noExtension}) {
        EXPECT_TRUE(sessions.Protect(Rtp, plain).empty());
        Bytes received = plain;
        for (int i = 0; i < 10; i++) received.push_back(0);
        EXPECT_EQ(sessions.Open(Rtp, received), Result::Refused);
    }
    // With a true tag, into which the header reaches.
    srtp::Transform transform(srtp::SessionKeys::Derive(srtp::Protocol::Rtp, Key, Salt), 10, 0);
    Bytes intoTag = MakeRtp(1, 4, 0);
    intoTag[0] |= 2;
    intoTag.resize(intoTag.size() + 10);
    transform.Sign(std::span<const UBYTE>(intoTag).first(12), Bytes(4), &intoTag[12]);
    EXPECT_EQ(sessions.Open(Rtp, intoTag), Result::Refused);
    EXPECT_EQ(sessions.Open(Rtp, sessions.Protect(Rtp, MakeRtp(1, 1, 160))), Result::Ok);
}

TEST(TestSrtpInterop, EveryWrongBitAndEveryCutIsRefusedAndChangesNothing) {
    for (const int tag : {4, 10}) {
        SCOPED_TRACE(tag);
        Sessions sessions(tag);
        for (const Protocol protocol : {Rtp, Rtcp}) {
            const Bytes before = protocol == Rtp ? MakeRtp(5, 100, 20) : MakeRtcp(5, 20);
            EXPECT_EQ(sessions.Open(protocol, sessions.Protect(protocol, before)), Result::Ok);
            const Bytes plain =
                protocol == Rtp ? MakeRtp(5, 101, 40, {.csrcs = 2, .extensionWords = 2}) : MakeRtcp(5, 40);
            const Bytes packet = sessions.Protect(protocol, plain);
            for (size_t at = 0; at < packet.size(); at++) {
                for (int bit = 0; bit < 8; bit++) {
                    Bytes wrong = packet;
                    wrong[at] ^= static_cast<UBYTE>(1 << bit);
                    EXPECT_NE(sessions.Open(protocol, wrong), Result::Ok) << at << ' ' << bit;
                }
                const Bytes cut(packet.begin(), packet.begin() + static_cast<long>(at));
                EXPECT_EQ(sessions.Open(protocol, cut), Result::Refused) << at;
            }
            Bytes longer = packet;
            longer.push_back(0);
            EXPECT_EQ(sessions.Open(protocol, longer), Result::Refused);
            EXPECT_EQ(sessions.Open(protocol, packet, &plain), Result::Ok);
            EXPECT_EQ(sessions.Open(protocol, packet), Result::Replayed);
        }
    }
}

TEST(TestSrtpInterop, SourcesStayInStepThroughRollOversWithThousandsLost) {
    Sessions sessions(4);
    std::map<ULONG, UWORD> sequences{{1, 100}, {2, 32767}, {3, 20000}, {0xFFFFFFFF, 0}};
    std::mt19937 random(1);
    int received = 0;
    for (int step = 0; step < 400; step++) {
        for (auto& [ssrc, sequence] : sequences) {
            // Sent one by one; lost for up to 30000 in a row, and some come late.
            sequence = static_cast<UWORD>(sequence + 1 + random() % 30000);
            const Bytes early = MakeRtp(ssrc, static_cast<UWORD>(sequence - 3), 33);
            const Bytes late = MakeRtp(ssrc, sequence, 33);
            const Bytes first = sessions.Protect(Rtp, early);
            const Bytes second = sessions.Protect(Rtp, late);
            if (first.empty() || second.empty()) continue;
            EXPECT_EQ(sessions.Open(Rtp, second, &late), Result::Ok);
            EXPECT_EQ(sessions.Open(Rtp, first, &early), Result::Ok);
            EXPECT_EQ(sessions.Open(Rtp, first), Result::Replayed);
            received++;
        }
    }
    EXPECT_GT(received, 1500);
}

// Sequence numbers as a broken sender might choose them.
TEST(TestSrtpInterop, SendersRefuseTheSameSequenceNumbers) {
    Sessions sessions(10);
    std::mt19937 random(testing::UnitTest::GetInstance()->random_seed() + 2U);
    UWORD sequence = 1000;
    int refused = 0;
    for (int i = 0; i < 40000; i++) {
        switch (random() % 16) {
            case 0:
                sequence = static_cast<UWORD>(random());
                break;
            case 1:
                sequence = static_cast<UWORD>(sequence + random() % 40000);
                break;
            case 2:
                sequence = static_cast<UWORD>(sequence - random() % 40000);
                break;
            case 3:
                sequence = static_cast<UWORD>(sequence - random() % 140);
                break;
            default:
                sequence++;
        }
        refused += sessions.Protect(Rtp, MakeRtp(1, sequence, 10)).empty() ? 1 : 0;
        if (HasFailure()) FAIL() << "at " << i;
    }
    EXPECT_GT(refused, 1000);
}

TEST(TestSrtpInterop, AllOfTheIndexIsInKeystreamAndTag) {
    SrtpPeer peer(SrtpSession::Outbound, 10, Key, Salt);
    srtp::Transform transform(srtp::SessionKeys::Derive(srtp::Protocol::Rtp, Key, Salt), 10, 0);
    constexpr ULONG Ssrc = 0xDEADBEEF;
    constexpr UWORD Sequence = 0x1234;
    for (const ULONG rollOvers : {0x00000000U, 0x00010203U, 0xFEDC9876U}) {
        const Bytes plain = MakeRtp(Ssrc, Sequence, 50);
        Bytes packet = plain;
        packet.resize(plain.size() + 10);
        if (rollOvers != 0) {
            ASSERT_TRUE(peer.SetRollOvers(Ssrc, rollOvers));
        }
        ASSERT_TRUE(peer.ProtectRtp(packet));
        const auto message = std::span<UBYTE>(packet).first(plain.size());
        std::array<UBYTE, 4> unsent;
        media::Put32(unsent.data(), rollOvers);
        EXPECT_TRUE(transform.IsAuthentic(message, unsent, &packet[plain.size()]));
        transform.Crypt(Ssrc, std::uint64_t{rollOvers} << 16 | Sequence, message.subspan(12));
        EXPECT_TRUE(std::equal(plain.begin(), plain.end(), packet.begin())) << rollOvers;
    }
}

TEST(TestSrtpInterop, ControlPacketsThatAreSignedButNotEncryptedAreRefused) {
    Sessions sessions(10);
    srtp::Transform transform(srtp::SessionKeys::Derive(srtp::Protocol::Rtcp, Key, Salt), 10, 0);
    for (const ULONG encrypted : {0U, 0x80000000U}) {
        Bytes packet = MakeRtcp(1, 20);
        const size_t size = packet.size() + 4;
        packet.resize(size + 10);
        media::Put32(&packet[size - 4], encrypted | 1);
        transform.Sign(std::span<const UBYTE>(packet).first(size), {}, &packet[size]);
        EXPECT_EQ(sessions.Open(Rtcp, packet) == Result::Ok, encrypted != 0);
    }
}

// What is lost before a stream is first heard may hold its first roll-over.
TEST(TestSrtpInterop, OnlyWeFindAStreamThatWasFirstHeardBehindItsRollOver) {
    Sessions sessions(10);
    EXPECT_FALSE(sessions.Protect(Rtp, MakeRtp(1, 65535, 20)).empty());
    const Bytes plain = MakeRtp(1, 2, 20);
    Bytes ours = sessions.Protect(Rtp, plain);
    Bytes theirs = ours;
    EXPECT_TRUE(Sessions::Open(*sessions.in, Rtp, ours) == Result::Ok);
    EXPECT_EQ(ours, plain);
    EXPECT_TRUE(Sessions::Open(sessions.peerIn, Rtp, theirs) == Result::Refused);
}

// Takes packets of some sources through loss, reordering, replay and damage, and has both receivers judge.
class RoughNetwork {
 public:
    RoughNetwork(int tag, unsigned seed) : sessions(tag), random(seed) {
        for (ULONG ssrc = 1; ssrc <= Sources; ssrc++) sequences[ssrc] = static_cast<UWORD>(random() & 0x7FFF);
    }

    void Step() {
        const unsigned choice = random() % 100;
        if (choice < 60 || sent.empty()) {
            Send();
        } else if (choice < 62) {
            Skip();
        } else if (choice < 80) {
            Judge(Pick());
        } else {
            auto packet = Pick();
            Damage(packet.second);
            Judge(packet);
        }
    }

    int Count(Result result) const { return counts[static_cast<size_t>(result)]; }

 private:
    static constexpr ULONG Sources = 12;
    static constexpr size_t Memory = 400;
    using Packet = std::pair<Protocol, Bytes>;

    void Send() {
        const ULONG ssrc = 1 + random() % Sources;
        Packet packet;
        if (random() % 8 == 0) {
            packet = {Rtcp, sessions.Protect(Rtcp, MakeRtcp(ssrc, random() % 120))};
        } else {
            const Shape shape{.csrcs = static_cast<int>(random() % 3),
                              .extensionWords = static_cast<int>(random() % 4) - 1};
            packet = {Rtp, sessions.Protect(Rtp, MakeRtp(ssrc, sequences[ssrc]++, random() % 60, shape))};
        }
        if (packet.second.empty()) return;  // after too many were skipped, the numbers seem to go back
        if (sent.size() < Memory) {
            sent.push_back(packet);
        } else {
            sent[random() % Memory] = packet;
        }
        if (random() % 3 != 0) Judge(packet);  // else it comes later, or never
    }

    // The sender falls silent, or thousands of packets are lost.
    void Skip() {
        const ULONG ssrc = 1 + random() % Sources;
        sequences[ssrc] = static_cast<UWORD>(sequences[ssrc] + random() % 20000);
    }

    const Packet& Pick() { return sent[random() % sent.size()]; }

    void Damage(Bytes& packet) {
        switch (random() % 4) {
            case 0:
                packet.resize(random() % (packet.size() + 1));
                break;
            case 1:
                packet.push_back(static_cast<UBYTE>(random()));
                break;
            case 2:
                packet[random() % std::min<size_t>(packet.size(), 16)] ^=
                    static_cast<UBYTE>(1 << random() % 8);
                break;
            default:
                packet[random() % packet.size()] ^= static_cast<UBYTE>(1 + random() % 255);
        }
    }

    void Judge(const Packet& packet) {
        counts[static_cast<size_t>(sessions.Open(packet.first, packet.second))]++;
    }

    Sessions sessions;
    std::mt19937 random;
    std::map<ULONG, UWORD> sequences;
    std::vector<Packet> sent;
    std::array<int, 3> counts{};
};

TEST(TestSrtpInterop, RoughNetworkIsJudgedAlike) {
    for (const int tag : {4, 10}) {
        SCOPED_TRACE(tag);
        RoughNetwork network(tag, testing::UnitTest::GetInstance()->random_seed() + 3U);
        for (int i = 0; i < 100000; i++) {
            network.Step();
            if (HasFailure()) FAIL() << "at " << i;
        }
        EXPECT_GT(network.Count(Result::Ok), 30000);
        EXPECT_GT(network.Count(Result::Replayed), 3000);
        EXPECT_GT(network.Count(Result::Refused), 3000);
    }
}

}  // namespace
