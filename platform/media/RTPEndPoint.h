// One RTP session of a leg: RTP and RTCP (RFC 3550) over the sockets bound to it, SRTP (RFC 3711), telephone
// events (RFC 4733), and the media device whose audio it carries. On the telephony server's own hardware the
// session is the hardware's (AudioHardware): the endpoint tells it what to do, by the stream of the phone
// device bound to it; sockets and the digit callback are then left aside.
//
// Created, bound, started and destroyed on the thread in whose loop its sockets are; all that arrives and its
// timers run there. The media device sends by DatagramIndication from any one thread at a time.
#pragma once

#include <memory>

#include "platform/kernel/OSIO.h"
#include "platform/kernel/SockAddr.h"
#include "platform/media/RtpCallStats.h"

namespace media {
class HardwareStream;
class RtpSession;
}  // namespace media

class RTPEndPoint : public OSIO {
 public:
    using DTMFCallback = void (*)(void* context, char digit, int duration);

    // Local RTP and RTCP addresses; the compression type at the media side (Alaw, or Relay: payloads pass
    // unchanged); `software`: packets travel through the bound sockets, not through the hardware, for which
    // the two addresses, a multicast group perhaps, are where it listens.
    RTPEndPoint(const SockAddr& localRtp, const SockAddr& localRtcp, unsigned short syscomptype,
                bool software);
    // Says BYE if the control stream is still there.
    ~RTPEndPoint() override;

    // The device that gives packets, and the one that gets payloads; neither is owned. Each is bound to the
    // endpoint, which leaves it alone at its own end: a device may go first.
    void BindMediaSource(OSIO* source);
    void BindMediaSink(OSIO* sink);
    // The RTP (or multicast) and the RTCP socket, not owned; each is bound to the endpoint.
    void BindStreamData(OSIO* socket);
    void BindStreamControl(OSIO* socket);

    // Starts the stream: local RTP, local RTCP, remote RTP, remote RTCP, compression type, frames per packet,
    // payload type of telephone events. A remote address of 0 receives only.
    void SetMSA(const SockAddr& localRtp, const SockAddr& localRtcp, const SockAddr& remoteRtp,
                const SockAddr& remoteRtcp, int comp, int mfpp, int dtmfPayloadType);

    // Called on the receiving thread, once for each digit that arrives, with its duration in milliseconds.
    void SetDTMFCallback(DTMFCallback function, void* context);
    // Sends a digit ('0'-'9', '*', '#', 'A'-'D', '!' for flash) of `duration` milliseconds.
    void DTMFDigit(char digit, int duration);

    // On hardware: mixes `member` in or out. An endpoint that ends leaves its conferences by itself.
    void ConferenceAdd(RTPEndPoint* member);
    void ConferenceRemove(RTPEndPoint* member);

    // Protects both directions from now on: tag length (4 or 10 bytes), local salt (14 bytes), local key
    // (16), remote salt, remote key. 0, or -1 when that failed: nothing is then sent or accepted.
    int SRTPEnable(int tagLength, unsigned char* localSalt, unsigned char* localKey,
                   unsigned char* remoteSalt, unsigned char* remoteKey);

    // Fills the six counters; 0 on success, -1 where the hardware has none.
    int GetStats(_rtp_callstats* stats);

    // A packet of the media source: a 4-byte sample clock (host byte order), then the payload. Takes the
    // buffer over.
    OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* to) override;
    void LowerReleased(OSIO* lower) override;

    ULONG rxlen = 0;           // receive backlog in samples
    ULONG rxdiscards = 0;      // received packets that never reached the media sink, running count
    bool relayOption = false;  // the endpoint relays another leg's audio

 private:
    std::unique_ptr<media::RtpSession> session;     // null on hardware
    std::unique_ptr<media::HardwareStream> stream;  // null in software
};

// A digit that the RTP driver detected on stream `sid` while no callback was set for it: named on the
// console.
void RTPEndPointOnDTMFDigit(int sid, char digit, int duration);
// Real-time audio on the telephony server's own hardware; once at start-up.
void RtpSetRealTimeAudio();
