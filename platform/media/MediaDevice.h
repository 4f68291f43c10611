// A source and sink of audio under an RTP endpoint. The endpoint gives it each payload by DataIndication or
// DatagramIndication; it gives the endpoint, to which it is bound, packets by the endpoint's
// DatagramIndication.
#pragma once

#include "platform/kernel/OSIO.h"

class MediaDevice : public OSIO {
 public:
    virtual void SetChannel(int /*newChannel*/) {}
    virtual int GetChannel() { return -1; }
    virtual void SetMuteState(bool /*mute*/) {}
    virtual void SetVolume(int /*volume*/) {}
    virtual void SetRemoteAudio(OSIO* /*remote*/, bool /*on*/) {}
    virtual OSIORetCode SendBuffer(OSBuf* buf) { return DataIndication(buf); }
};
