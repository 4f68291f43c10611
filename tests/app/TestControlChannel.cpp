// The control protocol over loopback: acknowledgements, refusals, reports, and every request's answer.
#include "tests/app/ControlTest.h"

namespace {

class TestControlChannel : public ControlTest {
 protected:
    // Hands the channel a datagram of the call server at once.
    void Receive(const Bytes& bytes) {
        OSBuf* buf = OSBuf::Alloc(static_cast<int>(bytes.size()));
        buf->PushData(bytes.data(), static_cast<int>(bytes.size()));
        SockAddr from(Loopback, server->Port());
        EXPECT_EQ(channel->DatagramIndication(buf, &from, nullptr), 0);
    }
    // What a digit on stream `sid` makes the module report; empty when nothing.
    Bytes Report(int sid, char key, int duration) {
        server->received.clear();
        ControlChannel::RtpDtmfCallback(channel.get(), sid, key, duration);
        ControlChannel::RtpDtmfCallback(channel.get(), 513, 'Z', 1);  // marks the end
        EXPECT_TRUE(RunUntil([&] { return !server->received.empty() && server->received.back()[9] == 'Z'; }));
        // What comes before the mark; an acknowledgement is none.
        for (const Bytes& datagram : server->received)
            if (datagram[1] == ControlMessage::Digit && datagram[9] != 'Z') return datagram;
        return {};
    }
};

TEST_F(TestControlChannel, AcknowledgesEachRequestAgain) {
    const Bytes map = {7, 0, 4, 1, 127, 0, 0, 1, 0x13, 0x88, 20, 0};
    EXPECT_TRUE(IsAcknowledged(map));
    EXPECT_EQ(
        console.Count("ControlChannel::OnMap - chan 4, comp 1, addr 127.0.0.1, port 5000, mfpp 20, flags 0"),
        1);
    EXPECT_EQ(console.Count("ControlChannel::Receive - Sending Ack"), 1);
    EXPECT_TRUE(IsAcknowledged(map));
    EXPECT_EQ(console.Count("ControlChannel::Receive - Sending Ack"), 2);
}

TEST_F(TestControlChannel, OtherMessagesAreOnlyTraced) {
    server->SendBytes({3, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, channel->GetPort());
    server->SendBytes({4, 200, 1, 2, 10, 0, 0, 9, 1, 0}, channel->GetPort());
    server->SendBytes({5, 8, 0, 0, 0, 0, 0, 0, 0, 0}, channel->GetPort());
    EXPECT_TRUE(IsAcknowledged(Message(ControlMessage::Unmap, 2)));
    EXPECT_EQ(server->received.size(), 1U) << "only the Unmap is answered";
    for (const char* line :
         {"Receive - unknown message seq 3, event Ack, chan 0, comp 0, addr 0.0.0.0, port 0",
          "Receive - unknown message seq 4, event <unknown>, chan 1, comp 2, addr 10.0.0.9, port 256",
          "Receive - unknown message seq 5, event Null, chan 0, comp 0, addr 0.0.0.0, port 0"})
        EXPECT_EQ(console.Count(line), 1) << line;
}

TEST_F(TestControlChannel, ShortDatagramsAreDroppedAndNamedOnce) {
    const Bytes whole = Message(ControlMessage::FreeChan, 300);
    const auto receiveAllShort = [&] {
        for (size_t length = 0; length < whole.size() - 2; ++length)
            Receive(Bytes(whole.begin(), whole.begin() + static_cast<long>(length)));
    };
    // Another test may have named one in this second already.
    ASSERT_TRUE(RepeatUntil([&] {
        receiveAllShort();
        return console.Count("too short for a message") > 0;
    }));
    receiveAllShort();
    EXPECT_EQ(console.Count("too short for a message"), 1);
    EXPECT_EQ(console.Count("OnFreeChan"), 0);
    EXPECT_TRUE(IsAcknowledged(Message(ControlMessage::Unmap, 2)));
    EXPECT_EQ(server->received.size(), 1U);
}

TEST_F(TestControlChannel, AnswersGoToTheLatestSource) {
    Pair(0, true);
    TestSocket other;
    EXPECT_TRUE(IsAcknowledged(Message(ControlMessage::Unmap, 2)));
    other.SendBytes({3, 2, 0, 0, 0, 0, 0, 0, 0, 0}, channel->GetPort());
    ASSERT_TRUE(RunUntil([&] { return console.Count("unknown message seq 3") == 1; }));
    ControlChannel::RtpDtmfCallback(channel.get(), 513, '1', 100);
    EXPECT_TRUE(RunUntil([&] { return other.received.size() == 1; }));
    EXPECT_EQ(server->received.size(), 1U);
}

TEST_F(TestControlChannel, ReportsDigitsOfExternalLegsUnderTheNextNumber) {
    Pair(0, true);
    struct Row {
        Bytes before;  // what the call server sends first
        UBYTE seq;     // of the report then
    };
    for (const Row& row :
         {Row{{1}, 0}, Row{{4, 2, 0, 0, 0, 0, 0, 0, 0, 0}, 4}, Row{{9, 1, 2, 0, 0, 0, 0, 0, 0, 0}, 10},
          Row{{255, 1, 2, 0, 0, 0, 0, 0, 0, 0}, 0}}) {
        Receive(row.before);
        EXPECT_EQ(Report(513, '5', 120), (Bytes{row.seq, 7, 1, 0, 0, 0, 0, 120, 0, '5', 0, 0}));
    }
    for (const int sid : {512, 511, 514, 515, -1})
        EXPECT_EQ(Report(sid, '5', 120), Bytes()) << sid << " is no external leg, or has no pair";
    EXPECT_EQ(Report(513, '\x85', -1)[8], 0xFF) << "keys are signed characters";
}

TEST_F(TestControlChannel, EveryRequestIsAnsweredWhateverItFinds) {
    struct Row {
        Bytes datagram;
        std::vector<const char*> traces;
        int pairs;  // in the table then
    };
    const Row rows[] = {
        {Message(ControlMessage::Unmap, 6), {"OnUnmap - chan 6", "OnUnmap - channel 6 not found!\n"}, 0},
        {Message(ControlMessage::FreeChan, 6),
         {"OnFreeChan - chan 6", "OnFreeChan - channel 6 not found!\n"},
         0},
        {Message(ControlMessage::Digit, 6, '#', 160), {"OnSendDigit - chan 6"}, 0},
        {Message(ControlMessage::ConfAdd, 6, 2),
         {"OnConferenceAdd - chan 6 to chan 2, master (nil), slave (nil)"},
         0},
        {Message(ControlMessage::HoldMusic, 9, 4000, 0xEF010203, ControlMessage::G729),
         {"OnHoldMusic - chan 9, comp 11, addr 239.1.2.3, port 4000, mfpp 0"},
         1},
        {Message(ControlMessage::ConfRemove, 8, 2),
         {"OnConferenceRemove - chan 8 from chan 2, master (nil), slave 0x"},
         1},
        {Message(ControlMessage::Digit, 8, '#', 160), {"OnSendDigit - chan 8"}, 1},
        {Message(ControlMessage::FreeChan, 9),
         {"OnFreeChan - chan 9", "RelayThread::~RelayThread - chan 8"},
         0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.traces.front());
        EXPECT_TRUE(IsAcknowledged(row.datagram));
        for (const char* trace : row.traces) EXPECT_EQ(console.Count(trace), 1) << trace;
        EXPECT_EQ(MediaPair::pairs.Size(), row.pairs);
    }
}

TEST_F(TestControlChannel, HoldMusicIsStoredOnItsLeg) {
    Request(Message(ControlMessage::HoldMusic, 9, 4000, 0xEF010203, ControlMessage::G729));
    const MediaPair* pair = Pair(8);
    ASSERT_NE(pair, nullptr);
    EXPECT_EQ(pair->external->holdMusic, SockAddr(0xEF010203, 4000));
    EXPECT_EQ(pair->external->holdMusicCompType, ControlMessage::G729);
    EXPECT_EQ(pair->internal->holdMusic.Address(), 0U);
    Request(Message(ControlMessage::Unmap, 8));
    EXPECT_FALSE(pair->internal->holdMusicTimer.IsArmed()) << "no source, no switch";
    Request(Message(ControlMessage::Unmap, 9));
    EXPECT_TRUE(pair->external->holdMusicTimer.IsArmed());
}

TEST_F(TestControlChannel, FreeChanPrintsTheStatisticsOfLegsWithEndpoint) {
    RtpPeer peer;
    Map(3, peer, ControlMessage::Alaw, 20);
    Map(2, peer, ControlMessage::Alaw, 20);
    EXPECT_TRUE(IsAcknowledged(Message(ControlMessage::FreeChan, 3)));
    EXPECT_EQ(
        console.Count("ControlChannel::OnFreeChan - RTP Stats: dropped pkt 0, jitter changed 0, seq err 0, "
                      "missed cb 0, dsp rx full 0, dsp tx full 0"),
        2);
}

TEST_F(TestControlChannel, LongTracesAreCut) {
    channel->Trace("%s", std::string(3000, 'x').c_str());
    EXPECT_EQ(console.Lines().back(), "ControlChannel::" + std::string(1023 - 16, 'x'));
}

TEST_F(TestControlChannel, StatisticsRunEveryTenSeconds) {
    RtpPeer peer;
    Map(2, peer, ControlMessage::Alaw, 20);
    Map(5, peer, ControlMessage::Alaw, 20);
    ControlChannel::TraceTimer(channel.get(), nullptr, 0);
    EXPECT_EQ(console.Count("Stats:   2"), 1);
    EXPECT_EQ(console.Count("Stats:   5"), 1);
    EXPECT_EQ(console.Count("Stats:"), 2) << "legs without relay have no line";
}

}  // namespace
