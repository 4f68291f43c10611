// What an endpoint asks of the hardware that carries the audio on the telephony server: the one seam between
// this system and the RTP kernel driver. How a driver is put behind it: docs/hardware.md.
//
// Streams go by their stream id (512 + channel number). Everything but StartRealTime is called on the module
// thread; what has failed is answered with false, and reported by the caller.
#pragma once

#include "platform/kernel/SockAddr.h"
#include "platform/media/MediaTypes.h"
#include "platform/media/PhoneDevice.h"
#include "platform/media/RtpCallStats.h"
#include "platform/media/StreamKeys.h"

namespace media {

struct StreamDescription {
    SockAddr heardRtp;  // where packets come in: this host's address, or the group of a multicast stream
    SockAddr heardRtcp;
    SockAddr localRtp;  // where packets go out
    SockAddr localRtcp;
    SockAddr remoteRtp;  // the peer; address 0: the stream only receives
    SockAddr remoteRtcp;
    int comp = NoComp;       // on the network
    int mediaComp = NoComp;  // at the media side: Alaw, or Relay for payloads as they are
    int mfpp = 0;            // milliseconds a packet for G.711, 10 ms frames a packet for G.729
    int dtmfPayloadType = 0;
};

class AudioHardware {
 public:
    virtual ~AudioHardware() = default;

    // Once, before the first stream, on the main thread: audio is to be carried in real time from now on.
    virtual void StartRealTime() = 0;

    virtual bool Open(UWORD sid, PhoneDevice::Direction direction) = 0;
    // Protects both directions of an open stream with SRTP. Comes before Describe. The keys are valid for the
    // call alone, wiped behind it.
    virtual bool Protect(UWORD sid, const StreamKeys& keys) = 0;
    // Says what the open stream is, and starts it; again: it is another from now on.
    virtual bool Describe(UWORD sid, const StreamDescription& description) = 0;
    // Plays a DTMF key towards the peer.
    virtual bool PlayDigit(UWORD sid, char digit, int durationMs) = 0;
    // Mixes `member`'s audio with `host`'s, and undoes it.
    virtual bool MixIn(UWORD host, UWORD member) = 0;
    virtual void MixOut(UWORD host, UWORD member) = 0;
    // Fills the counters of the stream since it was opened.
    virtual bool ReadStatistics(UWORD sid, _rtp_callstats& stats) = 0;
    // Ends the stream; it has been mixed out of everything.
    virtual void Close(UWORD sid) = 0;
};

// The one in force: StreamKeeper unless another was put in its place.
AudioHardware& Hardware();
// Puts `hardware` in force (null: the default). The caller keeps it alive; call it while no stream is open.
void ReplaceHardware(AudioHardware* hardware);

}  // namespace media
