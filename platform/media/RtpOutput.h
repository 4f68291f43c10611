// The sending half of an endpoint: audio, telephone events and control packets through its sockets, in the
// clear or protected. Audio comes from a relay thread, the rest from the thread of the sockets; a lock of its
// own keeps each packet, its sequence number and its way to the socket together.
#pragma once

#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/OSIO.h"
#include "platform/media/RtcpPacket.h"
#include "platform/media/RtpClock.h"
#include "platform/media/SrtpGate.h"
#include "platform/media/StreamAttributes.h"
#include "platform/media/TelephoneEventSender.h"

namespace media {

class RtpOutput {
 public:
    RtpOutput();
    ~RtpOutput();
    RtpOutput(const RtpOutput&) = delete;
    RtpOutput& operator=(const RtpOutput&) = delete;

    // Null takes the socket away: nothing is in it any more when this returns.
    void SetDataSocket(OSIO* socket);
    void SetControlSocket(OSIO* socket);
    void Start(const StreamAttributes& attributes);
    void Protect(std::unique_ptr<SrtpSession> session);

    // A packet of the media source (RTPEndPoint::DatagramIndication).
    OSIORetCode SendAudio(OSBuf* buf);
    // Queues a digit; false when it is none, too many wait, or there is nobody to send it to.
    bool AddDigit(char digit, int durationMs);
    // Whether digits are being sent or wait.
    bool HasEvents() const;
    // Sends what is due of the digits. Milliseconds to the next call while there are any.
    ULONG SendEvents();
    // An RTCP compound.
    OSIORetCode SendControl(std::span<const UBYTE> compound);

    ULONG Ssrc() const { return ssrc; }
    // Sent so far, and the time stamp of this moment; `ntp` is the caller's to fill.
    RtcpSenderInfo SenderInfo() const;
    // Whether anything was sent, RTP or RTCP.
    bool HasSent() const;

 private:
    bool CanSend() const;
    OSIORetCode Transmit(OSBuf* buf, int payloadType, ULONG timestamp, bool marker);

    mutable CRITICAL_SECTION cs;  // guards all that follows but ssrc
    OSIO* data = nullptr;
    OSIO* control = nullptr;
    StreamAttributes stream;
    SrtpGate gate;
    RtpClock clock;
    TelephoneEventSender events;
    const ULONG ssrc;
    UWORD sequence;
    bool talkStarts = true;  // the next audio packet gets the marker
    ULONG packets = 0;
    ULONG octets = 0;
    bool controlSent = false;
};

}  // namespace media
