#include "platform/media/TelephoneEventReceiver.h"

#include <algorithm>

#include "platform/media/MediaTypes.h"

namespace media {

namespace {

// Whether time stamp `a` comes after `b`.
bool IsAfter(ULONG a, ULONG b) {
    return static_cast<std::int32_t>(a - b) > 0;
}

}  // namespace

// Besides the packets with the event's own time stamp these are the late ones of its segments (RFC 4733,
// 2.5.1.3), and those of senders that advance the time stamp within one event. Another press of the same key
// begins only after a pause.
bool TelephoneEventReceiver::Press::Covers(ULONG otherSsrc, ULONG timestamp, UBYTE otherEvent) const {
    if (otherSsrc != ssrc) return false;
    return timestamp == start || (otherEvent == event && timestamp - start <= duration);
}

// A long event goes on in segments of the greatest duration; the last packets of one may have been lost.
bool TelephoneEventReceiver::Press::IsNextSegment(ULONG timestamp) const {
    const ULONG segments = duration / TelephoneEvent::MaxDuration + 1;
    return timestamp - start == segments * TelephoneEvent::MaxDuration;
}

bool TelephoneEventReceiver::OnEventPacket(ULONG ssrc, ULONG timestamp, std::span<const UBYTE> payload,
                                           ULONG now) {
    if (payload.empty() || payload.size() % TelephoneEvent::Size != 0) return false;
    // A packet may carry several events, one behind the other in time (RFC 4733, 2.5.1.5).
    for (; !payload.empty(); payload = payload.subspan(TelephoneEvent::Size)) {
        const auto event = TelephoneEvent::Parse(payload);
        OnEvent(ssrc, timestamp, *event, now);
        timestamp += event->duration;
    }
    return true;
}

void TelephoneEventReceiver::OnEvent(ULONG ssrc, ULONG timestamp, const TelephoneEvent& event, ULONG now) {
    if (event.Digit() == '\0' || WasReported(ssrc, timestamp, event.event, now)) return;
    if (Continues(ssrc, timestamp, event.event)) {
        current.duration = std::max(current.duration, timestamp - current.start + event.duration);
        current.heardAt = now;
    } else if (pending && ssrc == current.ssrc && !IsAfter(timestamp, current.start)) {
        // The other packets of an earlier event were lost, or are later still.
        Report({ssrc, timestamp, event.duration, event.event, now}, now);
        return;
    } else {
        Flush(now);
        pending = true;
        current = {ssrc, timestamp, event.duration, event.event, now};
    }
    if (event.end) Flush(now);
}

bool TelephoneEventReceiver::Continues(ULONG ssrc, ULONG timestamp, UBYTE event) const {
    if (!pending) return false;
    if (current.Covers(ssrc, timestamp, event)) return true;
    return ssrc == current.ssrc && event == current.event && current.IsNextSegment(timestamp);
}

bool TelephoneEventReceiver::WasReported(ULONG ssrc, ULONG timestamp, UBYTE event, ULONG now) {
    for (auto& [press, used] : reported) {
        if (used && now - press.heardAt > MemoryMs) used = false;
        if (!used || !press.Covers(ssrc, timestamp, event)) continue;
        press.heardAt = now;
        return true;
    }
    return false;
}

void TelephoneEventReceiver::OnAudio(ULONG ssrc, ULONG timestamp, ULONG now) {
    if (!pending || ssrc != current.ssrc) return;
    if (IsAfter(timestamp, current.start + current.duration + AudioSlack)) Flush(now);
}

void TelephoneEventReceiver::OnTime(ULONG now) {
    if (pending && now - current.heardAt >= SilenceMs) Flush(now);
}

void TelephoneEventReceiver::Flush(ULONG now) {
    if (!pending) return;
    pending = false;
    Report(current, now);
}

void TelephoneEventReceiver::Report(const Press& press, ULONG now) {
    reported[nextReported] = {press, true};
    nextReported = (nextReported + 1) % reported.size();
    if (!Admit(now)) {
        listener.OnExcessDigit();
        return;
    }
    const TelephoneEvent event{.event = press.event};
    listener.OnDigit(event.Digit(), static_cast<int>(press.duration / SamplesPerMs));
}

bool TelephoneEventReceiver::Admit(ULONG now) {
    budgetMs = std::min<ULONG>(BurstMs, budgetMs + std::min(now - budgetAt, BurstMs));
    budgetAt = now;
    if (budgetMs < MinDigitIntervalMs) return false;
    budgetMs -= MinDigitIntervalMs;
    return true;
}

}  // namespace media
