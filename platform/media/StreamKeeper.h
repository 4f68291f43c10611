// The hardware where no driver is present: keeps what it is asked for, carries no audio, reports zero
// counters. With AsyncSocket::trace it prints each request as a driver would get it, keys left out.
#pragma once

#include <map>
#include <optional>
#include <set>

#include "platform/media/AudioHardware.h"

namespace media {

class StreamKeeper final : public AudioHardware {
 public:
    void StartRealTime() override;
    bool Open(UWORD sid, PhoneDevice::Direction direction) override;
    bool Protect(UWORD sid, const StreamKeys& keys) override;
    bool Describe(UWORD sid, const StreamDescription& description) override;
    bool PlayDigit(UWORD sid, char digit, int durationMs) override;
    bool MixIn(UWORD host, UWORD member) override;
    void MixOut(UWORD host, UWORD member) override;
    bool ReadStatistics(UWORD sid, _rtp_callstats& stats) override;
    void Close(UWORD sid) override;

 private:
    struct Stream {
        PhoneDevice::Direction direction{};
        bool isProtected = false;
        std::optional<StreamDescription> description;
        std::set<UWORD> members;  // mixed into it
    };

    Stream* Find(UWORD sid);

    std::map<UWORD, Stream> streams;
};

}  // namespace media
