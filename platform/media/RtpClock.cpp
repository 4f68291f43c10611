#include "platform/media/RtpClock.h"

#include "platform/media/MediaTypes.h"

namespace media {

RtpClock::Stamp RtpClock::Advance(ULONG source, int samples, ULONG now) {
    const auto length = static_cast<ULONG>(samples);
    const bool paused = now - sentAt > length / SamplesPerMs + PauseMs;
    const Stamp stamp{paused ? At(now) - length : next, paused || !running || source != sourceNext};
    next = stamp.timestamp + length;
    sentAt = now;
    sourceNext = source + length;
    running = true;
    return stamp;
}

ULONG RtpClock::At(ULONG now) const {
    return next + (now - sentAt) * SamplesPerMs;
}

}  // namespace media
