// A module thread with a control channel, a call server that talks to it over loopback, and RTP peers.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "app/ControlChannel/ControlChannel.h"
#include "app/ControlChannel/MediaPair.h"
#include "app/Globals.h"
#include "tests/support/LoopTest.h"

using Bytes = std::vector<UBYTE>;

constexpr ULONG Loopback = 0x7F000001;

// A loopback socket of the test, on a port of its own.
class TestSocket : public OSIO {
 public:
    TestSocket() : socket(new AsyncSocket(false)) {
        EXPECT_EQ(socket->Create(AsyncSocket::Datagram, 0, Loopback, false), 0);
        socket->Bind(this);
    }
    ~TestSocket() override { socket->Free(); }

    UWORD Port() const { return static_cast<UWORD>(socket->LocalPort()); }

    void SendBytes(const Bytes& bytes, UWORD port) {
        OSBuf* buf = OSBuf::Alloc(static_cast<int>(bytes.size()));
        buf->PushData(bytes.data(), static_cast<int>(bytes.size()));
        SockAddr to(Loopback, port);
        socket->DatagramIndication(buf, nullptr, &to);
    }

    OSIORetCode DatagramIndication(OSBuf* buf, void* /*from*/, void* /*to*/) override {
        received.emplace_back(buf->Data().begin(), buf->Data().end());
        buf->Free();
        return Success;
    }

    std::vector<Bytes> received;

 protected:
    AsyncSocket* socket;
};

// The far end of a leg: RTP without any help of the media library.
class RtpPeer : public TestSocket {
 public:
    struct Packet {
        int payloadType;
        bool marker;
        UWORD sequence;
        ULONG timestamp;
        Bytes payload;
    };

    void Send(UWORD port, int payloadType, const Bytes& payload, ULONG samples) {
        SendAt(port, payloadType, payload, timestamp);
        timestamp += samples;
    }
    // One digit of RFC 4733: three packets, the last three of the event, with one time stamp.
    void SendDigit(UWORD port, UBYTE event, UWORD milliseconds) {
        const auto samples = static_cast<UWORD>(8 * milliseconds);
        const Bytes end = {event, 0x8A, static_cast<UBYTE>(samples >> 8), static_cast<UBYTE>(samples)};
        for (int i = 0; i < 3; ++i) SendAt(port, 101, end, timestamp);
        timestamp += samples;
    }
    std::vector<Packet> Packets(int payloadType) const {
        std::vector<Packet> packets;
        for (const Bytes& datagram : received) {
            const Packet packet = Parse(datagram);
            if (packet.payloadType == payloadType) packets.push_back(packet);
        }
        return packets;
    }

 private:
    static Packet Parse(const Bytes& d) {
        if (d.size() < 12) return {-1, false, 0, 0, {}};
        return {d[1] & 0x7F, (d[1] & 0x80) != 0, static_cast<UWORD>(d[2] << 8 | d[3]),
                static_cast<ULONG>(d[4]) << 24 | d[5] << 16 | d[6] << 8 | d[7],
                Bytes(d.begin() + 12, d.end())};
    }
    void SendAt(UWORD port, int payloadType, const Bytes& payload, ULONG at) {
        Bytes d = {0x80, static_cast<UBYTE>(payloadType)};
        const auto put = [&d](ULONG value, int bytes) {
            for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
                d.push_back(static_cast<UBYTE>(value >> shift));
        };
        put(sequence++, 2);
        put(at, 4);
        put(ssrc, 4);
        d.insert(d.end(), payload.begin(), payload.end());
        SendBytes(d, port);
    }

    UWORD sequence = 100;
    ULONG timestamp = 8000;
    ULONG ssrc = 0x4B455354U + Port();
};

class ControlTest : public LoopTest {
 protected:
    static constexpr int Channels = 16;

    void SetUp() override {
        LoopTest::SetUp();
        portbase = FreePortBase();
        channel = std::make_unique<ControlChannel>(portbase);
        server = std::make_unique<TestSocket>();
    }
    void TearDown() override {
        while (MediaPair* pair = MediaPair::pairs.Head()) MediaPair::Free(pair);
        server.reset();
        channel.reset();
        real_hardware = false;
        LoopTest::TearDown();
    }

    // A range of ports for all channels of a test that nobody holds at the moment.
    static int FreePortBase() {
        for (;;) {
            std::vector<AsyncSocket*> held = {new AsyncSocket(false)};
            held.back()->Create(AsyncSocket::Datagram, 0, 0, false);
            const int base = held.back()->LocalPort() + 1;
            bool free = base + 2 * Channels <= 65535;
            for (int port = base; free && port < base + 2 * Channels; ++port) {
                held.push_back(new AsyncSocket(false));
                free = held.back()->Create(AsyncSocket::Datagram, port, 0, false) == 0;
            }
            for (AsyncSocket* socket : held) socket->Free();
            if (free) return base;
        }
    }

    // Repeats `step`, about every millisecond, until it holds; false when it does not within 5 seconds.
    static bool RepeatUntil(const std::function<bool()>& step) {
        const ULONG start = os_clock();
        while (!step()) {
            if (os_expired(start, 5000) != 0) return false;
            WaitForSingleObject(OSTrigger::TLSGetEvent(), 1);
            OSTrigger::TLSPoll();
        }
        return true;
    }

    MediaPair* Pair(int chan, bool create = false) {
        return MediaPair::Get(channel.get(), chan, portbase, create);
    }
    MediaChannel& Leg(int chan) { return *Pair(chan, true)->GetChannel(chan); }
    UWORD RtpPort(int chan) const { return static_cast<UWORD>(portbase + 2 * chan); }

    // Sends a request and runs the loop until it is answered; the answer, empty when none came.
    Bytes Request(const Bytes& datagram) {
        const size_t before = server->received.size();
        server->SendBytes(datagram, channel->GetPort());
        const bool answered = RunUntil([&] { return server->received.size() > before; });
        return answered ? server->received.back() : Bytes();
    }
    bool IsAcknowledged(const Bytes& datagram) { return Request(datagram) == Ack(datagram[0]); }
    static Bytes Datagram(const ControlMessage& msg, const Bytes& extra = {}) {
        OSBuf* buf = msg.SysToNet();
        Bytes bytes(buf->Data().begin(), buf->Data().end());
        buf->Free();
        bytes.insert(bytes.end(), extra.begin(), extra.end());
        return bytes;
    }
    Bytes Message(ControlMessage::Event event, int chan, UWORD port = 0, ULONG addr = 0,
                  ControlMessage::CompType comp = ControlMessage::NoComp) {
        const std::unique_ptr<ControlMessage> msg(
            &ControlMessage::Alloc(++seq, event, chan, comp, addr, port, 0));
        return Datagram(*msg);
    }
    // Maps a leg to a peer and waits for the acknowledgement.
    void Map(int chan, const RtpPeer& peer, ControlMessage::CompType comp, UBYTE mfpp, UBYTE flags = 0,
             const Bytes& extra = {}) {
        const std::unique_ptr<ControlMessage> msg(
            &ControlMessage::Alloc(++seq, ControlMessage::Map, chan, comp, Loopback, peer.Port(), mfpp));
        msg->flags = flags;
        EXPECT_TRUE(IsAcknowledged(Datagram(*msg, extra)));
    }
    static Bytes Ack(UBYTE seq) { return {seq, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}; }

    int portbase = 0;
    UBYTE seq = 0;
    std::unique_ptr<ControlChannel> channel;
    std::unique_ptr<TestSocket> server;
};

// 66 bytes of key block for suite `algorithm`; all fields hold one value each.
inline Bytes KeyBlockBytes(UBYTE algorithm) {
    Bytes block;
    UBYTE value = 0xA1;
    for (int direction = 0; direction < 2; ++direction) {
        block.push_back(algorithm);
        for (const UBYTE length : {16, 14}) {
            block.push_back(length);
            block.insert(block.end(), length, value++);
        }
    }
    return block;
}
