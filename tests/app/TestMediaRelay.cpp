// The relay between payloads and frames: what is accepted, queued, packed and stamped.
#include <cstring>

#include "tests/app/ControlTest.h"

namespace {

// Stands for the endpoint: keeps what is to be sent.
class Endpoint : public OSIO {
 public:
    struct Packet {
        ULONG clock;
        Bytes payload;
    };
    OSIORetCode DatagramIndication(OSBuf* buf, void* /*from*/, void* /*to*/) override {
        Packet packet{0, Bytes(buf->Data().begin() + 4, buf->Data().end())};
        memcpy(&packet.clock, buf->data, 4);
        packets.push_back(packet);
        buf->Free();
        return Success;
    }
    std::vector<Packet> packets;
};

class TestMediaRelay : public ControlTest {
 protected:
    void SetUp() override {
        ControlTest::SetUp();
        leg = &Leg(2);
        Renew();
    }
    void TearDown() override {
        relay.reset();
        ControlTest::TearDown();
    }
    // A fresh relay that no relay thread knows.
    void Renew() {
        relay = std::make_unique<MediaRelay>(leg, false);
        relay->Bind(&endpoint);
        endpoint.packets.clear();
    }
    OSIORetCode Receive(const Bytes& payload) {
        OSBuf* buf = OSBuf::Alloc(static_cast<int>(payload.size()));
        buf->PushData(payload.data(), static_cast<int>(payload.size()));
        return relay->DatagramIndication(buf, nullptr, nullptr);
    }
    void Send(UBYTE value, int bytes = 80) {
        OSBuf* frame = OSBuf::Alloc(bytes);
        memset(frame->PushDown(bytes), value, static_cast<size_t>(bytes));
        EXPECT_EQ(relay->Send(frame), 0);
    }
    void Format(ControlMessage::CompType comp, UBYTE mfpp) {
        leg->msa.comp = comp;
        leg->msa.mfpp = mfpp;
    }
    // Frees the waiting frames; their first bytes.
    Bytes Waiting() {
        Bytes first;
        while (OSBuf* frame = relay->GetRxBuf()) {
            EXPECT_EQ(frame->len, 80);
            first.push_back(frame->data[0]);
            frame->Free();
        }
        return first;
    }
    // Repeats `act` until the limited message shows, which another test may have just used up; then it shows
    // no second time at once.
    void ExpectOncePerSecond(const std::function<void()>& act, const std::string& message) {
        ASSERT_TRUE(RepeatUntil([&] {
            act();
            return console.Count(message) > 0;
        })) << message;
        act();
        EXPECT_EQ(console.Count(message), 1) << message;
    }

    MediaChannel* leg = nullptr;
    Endpoint endpoint;
    std::unique_ptr<MediaRelay> relay;
};

TEST_F(TestMediaRelay, AcceptsWholeFramesOfItsCodec) {
    struct Row {
        ControlMessage::CompType comp;
        size_t bytes;
        OSIORetCode result;
        size_t frames;
    };
    ULONG received = 0;
    for (const Row& row :
         {Row{ControlMessage::Alaw, 0, Blocked, 0}, Row{ControlMessage::Alaw, 79, Blocked, 0},
          Row{ControlMessage::Alaw, 80, Success, 1}, Row{ControlMessage::Alaw, 200, Success, 2},
          Row{ControlMessage::Ulaw, 79, Blocked, 0}, Row{ControlMessage::Ulaw, 240, Success, 3},
          Row{ControlMessage::G729, 2, Blocked, 0}, Row{ControlMessage::G729, 9, Blocked, 0},
          Row{ControlMessage::G729, 10, Success, 1}, Row{ControlMessage::G729, 20, Success, 2},
          Row{ControlMessage::G729, 22, Success, 2}, Row{ControlMessage::G729, 8186, Blocked, 0},
          Row{ControlMessage::G729, 65000, Blocked, 0}, Row{ControlMessage::NoComp, 160, Blocked, 0},
          Row{ControlMessage::G723, 160, Blocked, 0}, Row{ControlMessage::Relay, 160, Blocked, 0},
          Row{ControlMessage::CompType(99), 0, Blocked, 0}}) {
        Format(row.comp, 20);
        EXPECT_EQ(Receive(Bytes(row.bytes, 0x11)), row.result) << row.comp << ", " << row.bytes;
        EXPECT_EQ(Waiting().size(), row.frames) << row.comp << ", " << row.bytes;
        EXPECT_EQ(leg->rxcount, ++received);
    }
}

TEST_F(TestMediaRelay, QueuesInOrderAndDropsTheOldestOfTwentyOne) {
    Format(ControlMessage::Alaw, 20);
    EXPECT_EQ(relay->GetRxBuf(), nullptr);
    for (UBYTE i = 0; i < 20; ++i) Receive(Bytes(80, i));
    EXPECT_EQ(leg->rxq_overruns, 0U);
    Receive(Bytes(160, 20));
    EXPECT_EQ(leg->rxq_overruns, 2U);
    Bytes expected(18);
    for (UBYTE i = 0; i < 18; ++i) expected[i] = static_cast<UBYTE>(i + 2);
    expected.insert(expected.end(), 2, 20);
    EXPECT_EQ(Waiting(), expected);
    Receive(Bytes(80, 1));  // what waits when the relay ends is freed with it
}

TEST_F(TestMediaRelay, PacksWholePackets) {
    struct Row {
        ControlMessage::CompType comp;
        UBYTE mfpp;
        int frames;
        std::vector<size_t> payloads;
        ULONG samples;  // of each packet
    };
    for (const Row& row :
         {Row{ControlMessage::Alaw, 20, 1, {}, 160}, Row{ControlMessage::Alaw, 20, 5, {160, 160}, 160},
          Row{ControlMessage::Ulaw, 30, 6, {240, 240}, 240}, Row{ControlMessage::Alaw, 10, 2, {80, 80}, 80},
          Row{ControlMessage::Alaw, 15, 4, {80, 80}, 80}, Row{ControlMessage::Alaw, 0, 3, {240}, 240},
          Row{ControlMessage::G729, 2, 4, {20, 20}, 160}, Row{ControlMessage::G729, 3, 3, {30}, 240},
          Row{ControlMessage::G729, 0, 3, {30}, 240}, Row{ControlMessage::G729, 255, 255, {2550}, 20400}}) {
        SCOPED_TRACE(std::to_string(row.comp) + " with " + std::to_string(row.mfpp));
        Renew();
        Format(row.comp, row.mfpp);
        const ULONG before = leg->txcount;
        ULONG clock = relay->ts;
        for (int i = 0; i < row.frames; ++i) Send(0x2A);
        std::vector<size_t> payloads;
        for (const Endpoint::Packet& packet : endpoint.packets) {
            payloads.push_back(packet.payload.size());
            EXPECT_EQ(packet.clock, clock) << "the clock from before the packet's samples";
            clock += row.samples;
        }
        EXPECT_EQ(payloads, row.payloads);
        EXPECT_EQ(leg->txcount - before, row.payloads.size());
    }
}

TEST_F(TestMediaRelay, PacketsHoldTheFramesInOrderAndCountTheirAge) {
    Format(ControlMessage::Alaw, 20);
    Send(1);
    Send(2);
    ASSERT_EQ(endpoint.packets.size(), 1U);
    Bytes expected(80, 1);
    expected.insert(expected.end(), 80, 2);
    EXPECT_EQ(endpoint.packets[0].payload, expected);
    EXPECT_EQ(relay->delay_count, 2U);

    OSBuf* old = OSBuf::Alloc(160);
    old->PushDown(160);
    old->stamp -= 500;
    relay->Send(old);
    EXPECT_EQ(relay->delay_count, 3U);
    EXPECT_GE(relay->delay, 500U);
    EXPECT_LT(relay->delay, 5500U);
}

TEST_F(TestMediaRelay, WhatCannotBeSentIsCounted) {
    ULONG discards = 0;
    for (const auto comp : {ControlMessage::NoComp, ControlMessage::G723, ControlMessage::Relay}) {
        Format(comp, 20);
        Send(1);
        EXPECT_EQ(leg->txdiscards2, ++discards);
    }
    EXPECT_TRUE(endpoint.packets.empty());
}

TEST_F(TestMediaRelay, NamesWhatItDropsOnceASecond) {
    Format(ControlMessage::Alaw, 20);
    ExpectOncePerSecond([&] { Receive(Bytes(79)); }, "SILENCE SUPPRESSION DETECTED!!! (A-law, len=79)\n");
    Format(ControlMessage::Ulaw, 20);
    Receive(Bytes(10));
    Format(ControlMessage::G729, 2);
    Receive(Bytes(2));
    EXPECT_EQ(console.Count("SILENCE"), 1) << "the three codecs share the limit";
    ExpectOncePerSecond([&] { Receive(Bytes(2)); }, "SILENCE SUPPRESSION DETECTED!!! (G.729, len=2)\n");
    Format(ControlMessage::Ulaw, 20);
    ExpectOncePerSecond([&] { Receive(Bytes(10)); }, "SILENCE SUPPRESSION DETECTED!!! (u-law, len=10)\n");
    ExpectOncePerSecond([&] { Receive(Bytes(120)); }, "MediaRelay::DataIndication - 40 bytes left!");

    Format(ControlMessage::Alaw, 15);
    ExpectOncePerSecond(
        [&] {
            Send(0);
            Send(0);
        },
        "MediaRelay::Send - buffer overrun 2!!! (buf len 80, req len 40)");
    Renew();
    Format(ControlMessage::Alaw, 5);
    ExpectOncePerSecond([&] { Send(0); }, "MediaRelay::Send - buffer overrun 1!!! (buf len 80, req len 40)");
    EXPECT_TRUE(endpoint.packets.empty());
}

}  // namespace
