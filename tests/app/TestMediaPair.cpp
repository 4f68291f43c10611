// The table of pairs and the statistics lines.
#include <cstdlib>

#include "app/ControlChannel/RelayThread.h"
#include "tests/app/ControlTest.h"

namespace {

class TestMediaPair : public ControlTest {
 protected:
    std::vector<std::string> Stats(MediaPair& pair) {
        console.Clear();
        pair.TraceStats();
        std::vector<std::string> lines;
        for (const std::string& line : console.Lines())
            if (line.rfind("Stats:", 0) == 0) lines.push_back(line);
        return lines;
    }
};

TEST_F(TestMediaPair, IsFoundByEitherNumberAndCreatedOnDemand) {
    EXPECT_EQ(Pair(7), nullptr);
    EXPECT_EQ(MediaPair::pairs.Size(), 0);
    MediaPair* pair = Pair(7, true);
    EXPECT_EQ(pair->chan, 6);
    EXPECT_EQ(pair->controlChan, channel.get());
    EXPECT_EQ(Pair(6), pair);
    EXPECT_EQ(pair->GetChannel(7), pair->external.get());
    EXPECT_EQ(pair->GetChannel(6), pair->internal.get());
    EXPECT_EQ(pair->GetChannel(100), pair->internal.get()) << "only the lowest bit counts";
    EXPECT_EQ(MediaPair::Get(channel.get(), 6, 20000, true)->internal->locport, portbase + 12)
        << "the ports fixed at creation stay";

    MediaPair* last = Pair(32767, true);
    MediaPair* first = Pair(0, true);
    std::vector<MediaPair*> order;
    for (MediaPair* entry : MediaPair::pairs) order.push_back(entry);
    EXPECT_EQ(order, (std::vector<MediaPair*>{pair, last, first}));
    MediaPair::Free(last);
    MediaPair::Free(nullptr);
    EXPECT_EQ(MediaPair::pairs.Size(), 2);
    EXPECT_EQ(Pair(32766), nullptr);
}

TEST_F(TestMediaPair, EndsItsThreadBeforeItsLegs) {
    MediaPair::Free(Pair(2, true));
    const std::vector<std::string> lines = console.Lines();
    const auto at = [&](const char* line) { return std::ranges::find(lines, line) - lines.begin(); };
    EXPECT_LT(at("RelayThread::Main - chan 2 - thread exiting"), at("RelayThread::~RelayThread - chan 2"));
    EXPECT_LT(at("RelayThread::~RelayThread - chan 2"), at("MediaChannel(3)::~MediaChannel"));
    EXPECT_LT(at("MediaChannel(3)::~MediaChannel"), at("MediaChannel(2)::~MediaChannel"));
    EXPECT_LT(at("MediaChannel(2)::~MediaChannel"), static_cast<long>(lines.size()));
}

TEST_F(TestMediaPair, ReportsItsCountersOfTenSeconds) {
    RtpPeer peer;
    MediaPair& pair = *Pair(2, true);
    EXPECT_TRUE(Stats(pair).empty()) << "no relay, no line";
    Map(2, peer, ControlMessage::Alaw, 20);
    Map(3, peer, ControlMessage::G729, 2);
    pair.thread->Stop();  // nothing counts from here on but this test
    pair.TraceStats();

    pair.internal->rxcount.Add(519);
    pair.internal->txcount.Add(500);
    pair.internal->txdiscards2.Add(70);
    pair.internal->rtpendpoint->rxlen = 243;
    pair.internal->rtpendpoint->rxdiscards += 4;
    pair.internal->relay->delay.Add(259);
    pair.internal->relay->delay_count.Add(20);
    for (int i = 0; i < 3; ++i) pair.internal->relay->confq.Append(OSBuf::Alloc(160));
    pair.external->rxcount.Add(9);
    pair.ConferenceAdd(Pair(4, true));
    pair.sleep_total.Add(8 * 1000);
    pair.sleep_count.Add(1000);
    EXPECT_EQ(
        Stats(pair),
        (std::vector<std::string>{
            "Stats:   2 - rx  51, tx  50, confq  30ms, rtp rxlen  30ms, tx discards (  0,   7), rx discards "
            "4, avg delay 12ms, conf  1, load 20.00%",
            "Stats:   3 - rx   0, tx   0, confq   0ms, rtp rxlen   0ms, tx discards (  0,   0), rx discards "
            "0, avg delay  0ms"}));
    pair.internal->rtpendpoint->rxlen = 0;
    EXPECT_EQ(
        Stats(pair).front(),
        "Stats:   2 - rx   0, tx   0, confq  30ms, rtp rxlen   0ms, tx discards (  0,   0), rx discards 0, "
        "avg delay  0ms, conf  1, load 0.00%");
}

TEST_F(TestMediaPair, LoadFollowsTheSleeps) {
    RtpPeer peer;
    MediaPair& pair = *Pair(2, true);
    Map(2, peer, ControlMessage::Alaw, 20);
    pair.thread->Stop();
    struct Row {
        ULONG total;
        ULONG count;
        const char* load;
    };
    for (const Row& row :
         {Row{0, 0, "load 0.00%"}, Row{9000, 1000, "load 10.00%"}, Row{1000, 1000, "load 90.00%"},
          Row{8505, 1000, "load 15.00%"}, Row{2, 3, "load 93.40%"}}) {
        pair.sleep_total.Reset();
        pair.sleep_count.Reset();
        pair.sleep_total.Add(row.total);
        pair.sleep_count.Add(row.count);
        EXPECT_NE(Stats(pair).front().find(row.load), std::string::npos) << row.load;
    }
}

TEST_F(TestMediaPair, DiscardsOfAnEarlierEndpointAreNotCountedAgain) {
    RtpPeer peer;
    MediaPair& pair = *Pair(2, true);
    Map(2, peer, ControlMessage::Alaw, 20);
    pair.internal->rtpendpoint->rxdiscards = 50;
    pair.TraceStats();
    Map(2, peer, ControlMessage::Alaw, 20);
    EXPECT_NE(Stats(pair).front().find("rx discards 0,"), std::string::npos);
}

TEST_F(TestMediaPair, OnTheServersHardwareNothingRelaysInSoftware) {
    real_hardware = true;
    RtpPeer peer;
    MediaPair& pair = *Pair(2, true);
    EXPECT_EQ(pair.thread, nullptr);
    pair.internal->Setup(ControlMessage::Alaw, Loopback, peer.Port(), 20, 0);
    pair.internal->Start(ControlMessage::Alaw, Loopback, peer.Port());
    EXPECT_EQ(pair.internal->relay, nullptr);
    ASSERT_NE(pair.internal->phoneDevice, nullptr);
    EXPECT_EQ(pair.internal->phoneDevice->GetChannel(), 514);
    EXPECT_NE(pair.internal->rtpendpoint, nullptr);
    pair.internal->rxcount.Add(7);
    pair.sleep_count.Add(7);
    EXPECT_TRUE(Stats(pair).empty());
    EXPECT_EQ(pair.internal->rxcount, 0U);
    EXPECT_EQ(pair.sleep_count, 0U);
}

}  // namespace
