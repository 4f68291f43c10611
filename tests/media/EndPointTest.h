// An endpoint on real sockets in the test's loop, a media device on one side of it and a plain UDP peer on
// the other.
#pragma once

#include <arpa/inet.h>

#include <cstring>
#include <memory>

#include "platform/media/MediaDevice.h"
#include "platform/media/MediaTypes.h"
#include "platform/media/RTPEndPoint.h"
#include "platform/media/RtcpPacket.h"
#include "tests/media/Packets.h"
#include "tests/support/LoopTest.h"

namespace media_test {

// Keeps what it is given.
class Recorder : public OSIO {
 public:
    OSIORetCode DatagramIndication(OSBuf* buf, void* /*from*/, void* to) override {
        datagrams.emplace_back(buf->data, buf->data + buf->len);
        if (to != nullptr) lastTo = *static_cast<SockAddr*>(to);
        buf->Free();
        return Success;
    }

    std::vector<media::RtpPacketView> Rtp() const {
        std::vector<media::RtpPacketView> packets;
        for (const Bytes& datagram : datagrams) packets.push_back(*media::RtpHeader::Parse(datagram));
        return packets;
    }

    std::vector<Bytes> datagrams;
    SockAddr lastTo;
};

// A media device: keeps payloads, and sends what a relay would.
class Device : public MediaDevice {
 public:
    OSIORetCode DataIndication(OSBuf* buf) override {
        payloads.emplace_back(buf->data, buf->data + buf->len);
        buf->Free();
        return Success;
    }
    // A payload at its place on the sample clock.
    OSIORetCode Send(const Bytes& payload) {
        OSBuf* buf = OSBuf::Alloc(static_cast<int>(payload.size()) + 50);
        buf->PushData(payload.data(), static_cast<int>(payload.size()));
        buf->PushData(&clock, sizeof clock);
        clock += static_cast<ULONG>(payload.size());
        return Bound()->DatagramIndication(buf, nullptr, nullptr);
    }

    std::vector<Bytes> payloads;
    ULONG clock = 4000000000;
};

class EndPointTest : public LoopTest {
 protected:
    static constexpr ULONG Here = INADDR_LOOPBACK;
    static constexpr ULONG PeerSsrc = 0xCAFEBABE;

    void SetUp() override {
        LoopTest::SetUp();
        peerRtp = Open(&peerRtpReceived);
        peerRtcp = Open(&peerRtcpReceived);
        rtp = Open(nullptr);
        rtcp = Open(nullptr);
    }
    void TearDown() override {
        FreeSockets();
        endpoint.reset();
        peerRtp->Free();
        peerRtcp->Free();
        LoopTest::TearDown();
    }

    static AsyncSocket* Open(OSIO* upper) {
        auto* socket = new AsyncSocket(false);
        EXPECT_EQ(socket->Create(AsyncSocket::Datagram, 0, Here, true), 0);
        socket->Bind(upper);
        return socket;
    }
    static SockAddr Address(const AsyncSocket* socket) {
        return {Here, static_cast<UWORD>(socket->LocalPort())};
    }

    // As the owner of a leg does it.
    void MakeEndpoint(int syscomptype = media::Alaw) {
        endpoint = std::make_unique<RTPEndPoint>(Address(rtp), Address(rtcp),
                                                 static_cast<unsigned short>(syscomptype), true);
        endpoint->BindMediaSource(&device);
        endpoint->BindMediaSink(&device);
        endpoint->SetDTMFCallback(OnDigit, this);
        endpoint->BindStreamData(rtp);
        endpoint->BindStreamControl(rtcp);
        rtp->Connect(Address(peerRtp));
        rtcp->Connect(Address(peerRtcp));
    }
    void Start(int comp) {
        endpoint->SetMSA(Address(rtp), Address(rtcp), Address(peerRtp), Address(peerRtcp), comp, 20,
                         media::DtmfPayloadType);
    }
    // In the owner's order; the endpoint may come after.
    void FreeSockets() {
        if (rtp != nullptr) rtp->Free();
        if (rtcp != nullptr) rtcp->Free();
        rtp = rtcp = nullptr;
    }

    static void SendTo(AsyncSocket* from, SockAddr to, const Bytes& datagram) {
        OSBuf* buf = OSBuf::Alloc(static_cast<int>(datagram.size()));
        buf->PushData(datagram.data(), static_cast<int>(datagram.size()));
        from->DatagramIndication(buf, nullptr, &to);
    }
    void PeerSends(const Bytes& datagram) { SendTo(peerRtp, Address(rtp), datagram); }
    void PeerSends(UBYTE type, UWORD sequence, ULONG timestamp, const Bytes& payload, ULONG ssrc = PeerSsrc) {
        PeerSends(
            Rtp({.payloadType = type, .sequence = sequence, .timestamp = timestamp, .ssrc = ssrc}, payload));
    }
    bool WaitForPayloads(size_t count) {
        return RunUntil([&] { return device.payloads.size() >= count; });
    }
    bool WaitForPeer(size_t count) {
        return RunUntil([&] { return peerRtpReceived.datagrams.size() >= count; });
    }
    bool WaitForDiscards(ULONG count) {
        return RunUntil([&] { return endpoint->rxdiscards >= count; });
    }
    // Whether the peer has heard a control packet of `type`.
    bool HeardControl(media::RtcpPacket::Type type) {
        for (const Bytes& datagram : peerRtcpReceived.datagrams) {
            std::span<const UBYTE> rest = datagram;
            while (const auto packet = media::RtcpPacket::Next(rest)) {
                if (packet->PacketType() == type) return true;
            }
        }
        return false;
    }
    _rtp_callstats Stats() {
        _rtp_callstats stats{};
        EXPECT_EQ(endpoint->GetStats(&stats), 0);
        return stats;
    }

    static void OnDigit(void* context, char digit, int duration) {
        static_cast<EndPointTest*>(context)->digits += digit + std::to_string(duration) + ' ';
    }

    Device device;
    Recorder peerRtpReceived;
    Recorder peerRtcpReceived;
    AsyncSocket* peerRtp = nullptr;
    AsyncSocket* peerRtcp = nullptr;
    AsyncSocket* rtp = nullptr;
    AsyncSocket* rtcp = nullptr;
    std::unique_ptr<RTPEndPoint> endpoint;
    std::string digits;
};

}  // namespace media_test
