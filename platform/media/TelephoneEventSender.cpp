#include "platform/media/TelephoneEventSender.h"

#include <algorithm>

#include "platform/media/MediaTypes.h"

namespace media {

bool TelephoneEventSender::Add(char digit, int durationMs) {
    const int event = TelephoneEvent::OfDigit(digit);
    if (event < 0 || queued == MaxQueued) return false;
    const int ms = std::clamp(durationMs, MinDurationMs, MaxDurationMs);
    queue[static_cast<size_t>((queueHead + queued) % MaxQueued)] = {static_cast<UBYTE>(event),
                                                                    static_cast<ULONG>(ms * SamplesPerMs)};
    queued++;
    return true;
}

void TelephoneEventSender::Clear() {
    queued = 0;
    sending = false;
    paused = false;
}

std::optional<TelephoneEventSender::Packet> TelephoneEventSender::Poll(ULONG now, ULONG clock) {
    if (!sending && !Begin(now, clock)) return {};
    const ULONG progress = Progress(now);
    const bool segmentFull = progress - segmentDone > TelephoneEvent::MaxDuration;
    const ULONG inSegment = segmentFull ? TelephoneEvent::MaxDuration : progress - segmentDone;

    Packet packet{{.event = current.event, .duration = static_cast<UWORD>(inSegment)}, segmentStart, first};
    packet.event.end = !segmentFull && progress == current.duration;
    first = false;
    if (segmentFull) NextSegment();
    if (packet.event.end) CountEnd(now);
    return packet;
}

bool TelephoneEventSender::IsPaused(ULONG now) const {
    return paused && static_cast<std::int32_t>(now - pauseUntil) < 0;
}

ULONG TelephoneEventSender::NextPoll(ULONG now) const {
    const auto update = static_cast<ULONG>(updateMs);
    if (sending) return update - (now - startedAt) % update;
    return IsPaused(now) ? pauseUntil - now : 0;
}

bool TelephoneEventSender::Begin(ULONG now, ULONG clock) {
    if (queued == 0 || IsPaused(now)) return false;
    current = queue[static_cast<size_t>(queueHead)];
    queueHead = (queueHead + 1) % MaxQueued;
    queued--;
    sending = true;
    first = true;
    paused = false;
    segmentStart = clock;
    segmentDone = 0;
    startedAt = now;
    endsSent = 0;
    return true;
}

// Units of the event that a packet sent now covers: up to the next update, as an audio packet would.
ULONG TelephoneEventSender::Progress(ULONG now) const {
    const ULONG updates = (now - startedAt) / static_cast<ULONG>(updateMs) + 1;
    return std::min(current.duration, updates * static_cast<ULONG>(updateMs * SamplesPerMs));
}

void TelephoneEventSender::NextSegment() {
    segmentStart += TelephoneEvent::MaxDuration;
    segmentDone += TelephoneEvent::MaxDuration;
}

void TelephoneEventSender::CountEnd(ULONG now) {
    if (endsSent == 0) pauseUntil = now + static_cast<ULONG>(updateMs) + PauseMs;
    if (++endsSent < EndPackets) return;
    sending = false;
    paused = true;
}

}  // namespace media
