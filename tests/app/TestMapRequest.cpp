// Map with keys: protection, where key bytes may show, and that bad keys leave the leg closed.
#include "tests/app/ControlTest.h"

namespace {

constexpr const char* KeyHeaders[] = {"local master key", "local master salt", "remote master key",
                                      "remote master salt"};

class TestMapRequest : public ControlTest {
 protected:
    // Maps leg 4 in the clear and leg 5 with `extra`, sends audio into leg 4, and returns what leg 5's peer
    // gets.
    std::vector<Bytes> Relayed(const Bytes& extra, const std::function<bool(const RtpPeer&)>& enough) {
        RtpPeer internal;
        RtpPeer external;
        Map(4, internal, ControlMessage::Alaw, 20);
        Map(5, external, ControlMessage::Alaw, 20, 0, extra);
        for (int i = 0; i < 20; ++i) internal.Send(RtpPort(4), 8, Bytes(160, 0x2A), 160);
        RunUntil([&] { return enough(external); });
        return external.received;
    }
    static bool HasAudio(const RtpPeer& peer) { return !peer.Packets(8).empty(); }
};

TEST_F(TestMapRequest, CreatesThePairAndItsLegAlone) {
    RtpPeer peer;
    Map(5, peer, ControlMessage::Alaw, 20);
    const MediaPair* pair = Pair(4);
    ASSERT_NE(pair, nullptr);
    EXPECT_NE(pair->external->rtpendpoint, nullptr);
    EXPECT_EQ(pair->internal->rtpendpoint, nullptr);
    EXPECT_EQ(console.Count("master"), 0) << "no keys, no key headers";
}

TEST_F(TestMapRequest, KeysProtectTheLegWithTheTagOfTheirSuite) {
    struct Row {
        UBYTE suite;
        size_t tag;
    };
    for (const Row row : {Row{1, 10}, Row{2, 4}, Row{0, 10}}) {
        const std::vector<Bytes> sent = Relayed(KeyBlockBytes(row.suite), HasAudio);
        ASSERT_FALSE(sent.empty());
        const Bytes& packet = sent.front();
        EXPECT_EQ(packet.size(), 12 + 160 + row.tag);
        EXPECT_LT(std::ranges::count(packet, 0x2A), 20) << "audio in the clear";
    }
}

TEST_F(TestMapRequest, KeysShowInTheFourTracesOnly) {
    RtpPeer peer;
    ::testing::internal::CaptureStdout();
    Map(5, peer, ControlMessage::Alaw, 20, 0, KeyBlockBytes(1));
    std::string expected;
    for (const auto& [byte, length] : {std::pair(" a1", 16), {" a2", 14}, {" a3", 16}, {" a4", 14}}) {
        for (int i = 0; i < length; ++i) expected += byte;
        expected += '\n';
    }
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), expected);
    for (const char* header : KeyHeaders)
        EXPECT_EQ(console.Count("ControlChannel::OnMap - " + std::string(header) + ":\n"), 1) << header;
    for (const std::string& line : console.Lines()) {
        for (const char* key : {"a1 a1", "a2 a2", "a3 a3", "a4 a4"})
            EXPECT_EQ(line.find(key), std::string::npos) << line;
    }
}

TEST_F(TestMapRequest, BadKeysLeaveTheLegClosed) {
    Bytes shortKey = KeyBlockBytes(1);
    shortKey[1] = 15;
    Bytes longSalt = KeyBlockBytes(1);
    longSalt[51] = 255;
    Bytes cut = KeyBlockBytes(1);
    cut.pop_back();
    for (const Bytes& extra : {shortKey, longSalt, cut, Bytes{1}}) {
        console.Clear();
        const std::vector<Bytes> sent =
            Relayed(extra, [this](const RtpPeer&) { return Leg(4).rxcount == 20U; });
        EXPECT_TRUE(sent.empty());
        EXPECT_EQ(Leg(5).rtpendpoint, nullptr);
        EXPECT_EQ(Leg(5).relay, nullptr);
        EXPECT_EQ(console.Count("OnMap - chan 5, bad key block"), 1);
        EXPECT_EQ(console.Count("master"), 0);
        MediaPair::Free(Pair(4));
    }
    RtpPeer peer;
    Map(5, peer, ControlMessage::Alaw, 20);
    EXPECT_NE(Leg(5).rtpendpoint, nullptr) << "the next Map opens it";
}

}  // namespace
