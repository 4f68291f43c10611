// The control half of an endpoint, bound above its RTCP socket: reports about every 5 seconds, understands
// the peer's, and says BYE (RFC 3550, 6). The sockets' thread.
#pragma once

#include <string>

#include "platform/kernel/OSIO.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/media/Discards.h"
#include "platform/media/RtcpPacket.h"
#include "platform/media/RtpInput.h"
#include "platform/media/RtpOutput.h"
#include "platform/media/SrtpGate.h"

namespace media {

class RtcpControl final : public OSIO {
 public:
    // `owner` is told when the socket goes; `gate` is that of the receiving direction.
    RtcpControl(OSIO& owner, RtpInput& input, RtpOutput& output, SrtpGate& gate, Discards& discards);
    ~RtcpControl() override = default;

    // Begins to report, under a CNAME made of the local address.
    void Start(const SockAddr& local);
    // Ends it: with a BYE when anything was ever sent (RFC 3550, 6.3.7).
    void Stop();

    OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* to) override;
    void LowerReleased(OSIO* lower) override { owner.LowerReleased(lower); }

 private:
    // What the peer told of itself and of us.
    struct Peer {
        ULONG senderSsrc = 0;
        ULONG lastSr = 0;            // 0: none
        std::uint64_t lastSrAt = 0;  // os_clock_us
        bool hasReported = false;    // on our stream
        RtcpReportBlock ours;
        ULONG roundTripMs = 0;
    };

    void Send(bool bye);
    bool IsSending(ULONG packets);
    std::optional<RtcpReportBlock> MakeBlock();
    void OnPacket(const RtcpPacket& packet);
    void OnBlock(const RtcpReportBlock& block);
    void PrintPeerReport() const;
    static void ReportTimer(OSObj* object, void* param, unsigned long value);

    OSIO& owner;
    RtpInput& input;
    RtpOutput& output;
    SrtpGate& gate;
    Discards& discards;
    OSTimerTrigger timer;
    bool running = false;
    std::string cname;
    Peer peer;
    ULONG packetsAtLastReport = 0;
    ULONG packetsAtReportBefore = 0;
};

}  // namespace media
