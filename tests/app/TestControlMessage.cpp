// The control datagram: rows in both directions, what is missing or too much, random messages and bytes.
#include <memory>
#include <random>

#include "app/ControlChannel/ControlMessage.h"
#include "tests/support/LoopTest.h"

namespace {

using Bytes = std::vector<UBYTE>;
using Message = std::unique_ptr<ControlMessage>;

OSBuf* BufferOf(const Bytes& bytes) {
    OSBuf* buf = OSBuf::Alloc(static_cast<int>(bytes.size()));
    buf->PushData(bytes.data(), static_cast<int>(bytes.size()));
    return buf;
}

Message Decode(const Bytes& bytes) {
    OSBuf* buf = BufferOf(bytes);
    Message msg(&ControlMessage::NetToSys(buf));
    buf->Free();
    return msg;
}

Bytes Encode(const ControlMessage& msg) {
    OSBuf* buf = msg.SysToNet();
    Bytes bytes(buf->Data().begin(), buf->Data().end());
    buf->Free();
    return bytes;
}

struct Row {
    const char* name;
    Bytes datagram;
    int seq;
    int event;
    int chan;
    int comp;
    ULONG addr;
    int port;
    int mfpp;
    int flags;
    Bytes extra;
    bool canonical;  // encoding gives the datagram back
};

const Row Rows[] = {
    {"ack", {5, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 5, ControlMessage::Ack, 0, 0, 0, 0, 0, 0, {}, true},
    {"map of the longest short channel",
     {7, 0, 0x7F, 11, 0xC0, 0xA8, 1, 10, 0x13, 0x88, 2, 3},
     7,
     ControlMessage::Map,
     127,
     ControlMessage::G729,
     0xC0A8010A,
     5000,
     2,
     3,
     {},
     true},
    {"shortest long channel",
     {255, 4, 0x80, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0},
     255,
     ControlMessage::FreeChan,
     128,
     0,
     0,
     0,
     0,
     0,
     {},
     true},
    {"last channel, highest values",
     {1, 7, 0xFF, 0xFF, 12, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
     1,
     ControlMessage::Digit,
     32767,
     ControlMessage::Relay,
     0xFFFFFFFF,
     0xFFFF,
     255,
     255,
     {},
     true},
    {"unlisted event and codec",
     {9, 200, 4, 77, 0, 0, 0, 1, 0, 2, 3, 4},
     9,
     200,
     4,
     77,
     1,
     2,
     3,
     4,
     {},
     true},
    {"ends behind the port", {1, 0, 4, 1, 1, 2, 3, 4, 5, 6}, 1, 0, 4, 1, 0x01020304, 0x0506, 0, 0, {}, false},
    {"ends behind mfpp",
     {1, 0, 4, 1, 1, 2, 3, 4, 5, 6, 20},
     1,
     0,
     4,
     1,
     0x01020304,
     0x0506,
     20,
     0,
     {},
     false},
    {"long form of a short channel",
     {1, 0, 0x80, 4, 1, 1, 2, 3, 4, 5, 6, 20, 1},
     1,
     0,
     4,
     1,
     0x01020304,
     0x0506,
     20,
     1,
     {},
     false},
    {"extra",
     {1, 0, 4, 1, 1, 2, 3, 4, 5, 6, 20, 1, 0xAA, 0xBB},
     1,
     0,
     4,
     1,
     0x01020304,
     0x0506,
     20,
     1,
     {0xAA, 0xBB},
     true},
};

class TestControlMessage : public LoopTest {};

TEST_F(TestControlMessage, RowsDecodeAndEncode) {
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(ControlMessage::HasFixedPart(row.datagram));
        const Message msg = Decode(row.datagram);
        EXPECT_EQ(msg->seq, row.seq);
        EXPECT_EQ(msg->event, row.event);
        EXPECT_EQ(msg->chan, row.chan);
        EXPECT_EQ(msg->comp, row.comp);
        EXPECT_EQ(msg->addr, row.addr);
        EXPECT_EQ(msg->port, row.port);
        EXPECT_EQ(msg->mfpp, row.mfpp);
        EXPECT_EQ(msg->flags, row.flags);
        EXPECT_EQ(Bytes(msg->Extra().begin(), msg->Extra().end()), row.extra);
        if (row.canonical) {
            EXPECT_EQ(Encode(*msg), row.datagram);
        }
    }
    EXPECT_EQ(console.Count("OSBuf"), 1) << "only the datagram with an extra block is dumped";
}

TEST_F(TestControlMessage, ShortDatagramsAreNoMessagesAndAreNeverReadPastTheirEnd) {
    for (const Bytes& whole : {Rows[1].datagram, Rows[3].datagram}) {
        const size_t fixedPart = whole.size() - 2;
        for (size_t length = 0; length < fixedPart; ++length) {
            const Bytes cut(whole.begin(), whole.begin() + static_cast<long>(length));
            EXPECT_FALSE(ControlMessage::HasFixedPart(cut)) << length;
            EXPECT_EQ(Decode(cut)->mfpp, 0);
        }
    }
}

TEST_F(TestControlMessage, DefaultsNamesAndAlloc) {
    const ControlMessage empty;
    EXPECT_EQ(Encode(empty), (Bytes{0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_STREQ(empty.Name(), "Null");
    EXPECT_STREQ(Decode({1, 9, 0})->Name(), "<unknown>");

    ControlMessage& msg =
        ControlMessage::Alloc(258, ControlMessage::ConfAdd, 6, ControlMessage::NoComp, 0x0A000001, 2, 20);
    EXPECT_EQ(Encode(msg), (Bytes{2, 5, 6, 0, 10, 0, 0, 1, 0, 2, 20, 0}));
    msg.Free();
}

TEST_F(TestControlMessage, RandomMessagesAndRandomBytesSurviveTheRoundTrip) {
    std::mt19937 random(20);
    for (int round = 0; round < 5000; ++round) {
        Bytes bytes(random() % 100);
        for (UBYTE& byte : bytes) byte = static_cast<UBYTE>(random());
        const Bytes once = Encode(*Decode(bytes));
        ASSERT_EQ(Encode(*Decode(once)), once);
        const bool longForm = bytes.size() > 2 && (bytes[2] & 0x80) != 0;
        const bool wasted = longForm && bytes.size() > 3 && bytes[2] == 0x80 && bytes[3] < 0x80;
        if (bytes.size() >= (longForm ? 13U : 12U) && !wasted) {
            ASSERT_EQ(once, bytes);
        }
    }
    Bytes largest(65507, 0x55);
    ASSERT_EQ(Encode(*Decode(largest)), largest);
}

}  // namespace
