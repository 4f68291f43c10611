// The time stamps of the stream that we send: one continuous clock from a random start, whatever becomes of
// the source's. It advances by the samples sent, and over a pause by the time that passed. One thread at a
// time.
#pragma once

#include "platform/kernel/Types.h"

namespace media {

class RtpClock {
 public:
    struct Stamp {
        ULONG timestamp;
        bool discontinuity;  // the packet does not continue the one before it: it begins a talk spurt
    };

    static constexpr ULONG PauseMs = 100;  // beyond the packet time, after which sending has paused

    // `start` is the time stamp of `now`, an os_clock value.
    RtpClock(ULONG start, ULONG now) : next(start), sentAt(now) {}

    // For a packet of `samples` samples that is complete now, at `source` on its source's sample clock.
    Stamp Advance(ULONG source, int samples, ULONG now);
    // The time stamp of this moment.
    ULONG At(ULONG now) const;

 private:
    ULONG next;    // time stamp behind the last packet
    ULONG sentAt;  // os_clock of the last packet
    ULONG sourceNext = 0;
    bool running = false;
};

}  // namespace media
