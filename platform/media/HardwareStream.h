// What an RTPEndPoint consists of on the telephony server's own hardware: a stream that the hardware carries,
// and the conference links that it has to give up before it ends. Threads as there.
#pragma once

#include <optional>

#include "platform/kernel/OSIO.h"
#include "platform/kernel/OSIndirectList.h"
#include "platform/media/AudioHardware.h"

namespace media {

class HardwareStream {
 public:
    // Where packets will come in, and the compression type at the media side.
    HardwareStream(const SockAddr& heardRtp, const SockAddr& heardRtcp, int mediaComp);
    ~HardwareStream();
    HardwareStream(const HardwareStream&) = delete;
    HardwareStream& operator=(const HardwareStream&) = delete;

    // Opens the stream of the phone device; any other device is none of the hardware's. Once.
    void SetDevice(OSIO* device);
    // The rest of the description; `heard` and `mediaComp` are filled in here.
    void Start(StreamDescription attributes);
    bool Protect(const StreamKeys& keys) const;
    void SendDigit(char digit, int durationMs) const;
    // A stream is a member of one host at most; a link that is there already, or not, is left so.
    void Add(HardwareStream& member);
    void Remove(HardwareStream& member);
    bool ReadStatistics(_rtp_callstats& stats) const;

 private:
    bool Check(bool accepted, const char* request) const;

    const SockAddr heardRtp;
    const SockAddr heardRtcp;
    const int mediaComp;
    bool asked = false;        // the hardware, for a stream
    std::optional<UWORD> sid;  // of the open stream
    HardwareStream* host = nullptr;
    OSIndirectList<HardwareStream> members;
};

}  // namespace media
