#include "platform/media/SequenceTracker.h"

#include <algorithm>

namespace media {

namespace {

// A sender's clock that is this far (half a second) from where the last packet put it has jumped.
constexpr std::int32_t ClockJump = 4000;

}  // namespace

SequenceTracker::Verdict SequenceTracker::Accept(ULONG newSsrc, UWORD sequence) {
    if (!started || newSsrc != ssrc) {
        const Verdict verdict = started ? Verdict::NewSource : Verdict::First;
        if (started) timingErrors++;
        Start(newSsrc, sequence);
        return verdict;
    }
    const auto ahead = static_cast<std::int16_t>(sequence - highest);
    if (ahead > 0 && ahead <= MaxDropout) {
        Advance(ahead);
        return Verdict::InOrder;
    }
    if (ahead <= 0 && ahead >= -MaxMisorder) return LookBack(-ahead);
    sequenceErrors++;
    timingErrors++;
    Start(ssrc, sequence);
    return Verdict::Jump;
}

void SequenceTracker::Start(ULONG newSsrc, UWORD sequence) {
    ssrc = newSsrc;
    started = true;
    timed = false;
    base = sequence;
    highest = base;
    received = 1;
    expectedPrior = 0;
    receivedPrior = 0;
    jitter = 0;
    heard.reset();
    heard.set(0);
}

void SequenceTracker::Advance(int steps) {
    highest += static_cast<ULONG>(steps);
    heard <<= static_cast<size_t>(steps);
    heard.set(0);
    received++;
    sequenceErrors += static_cast<ULONG>(steps - 1);
}

SequenceTracker::Verdict SequenceTracker::LookBack(int steps) {
    received++;
    const auto place = static_cast<size_t>(steps);
    if (heard.test(place)) return Verdict::Duplicate;
    heard.set(place);
    return Verdict::Late;
}

bool SequenceTracker::AddTiming(ULONG timestamp, ULONG arrival) {
    const ULONG previous = transit;
    transit = arrival - timestamp;
    if (!timed) {
        timed = true;
        return true;
    }
    const auto difference = static_cast<std::int32_t>(transit - previous);
    if (difference > ClockJump || difference < -ClockJump) {
        timingErrors++;
        return false;
    }
    const auto distance = static_cast<ULONG>(difference < 0 ? -difference : difference);
    jitter += distance - ((jitter + 8) >> 4);  // RFC 3550, A.8
    return true;
}

void SequenceTracker::Reset() {
    started = false;
    timed = false;
}

std::int32_t SequenceTracker::Lost() const {
    const auto lost = static_cast<std::int32_t>(Expected() - received);
    return std::clamp(lost, -0x800000, 0x7FFFFF);
}

UBYTE SequenceTracker::FractionLost() {
    const ULONG expectedNow = Expected() - expectedPrior;
    const auto lost = static_cast<std::int32_t>(expectedNow - (received - receivedPrior));
    expectedPrior = Expected();
    receivedPrior = received;
    if (expectedNow == 0 || lost <= 0) return 0;
    return static_cast<UBYTE>(std::min<std::uint64_t>((std::uint64_t(lost) << 8) / expectedNow, 255));
}

}  // namespace media
