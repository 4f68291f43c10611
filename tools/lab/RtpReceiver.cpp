#include "tools/lab/RtpReceiver.h"

#include <algorithm>

#include "platform/kernel/Clock.h"
#include "platform/media/RtpHeader.h"
#include "tools/lab/RtpSender.h"

namespace lab {

namespace {

constexpr std::int64_t NsPerUnit = 1'000'000'000LL / SampleRate;

double ToMs(ULONG units) {
    return static_cast<double>(units) * 1000.0 / SampleRate;
}

}  // namespace

RtpReceiver::RtpReceiver(Codec codec, bool record)
    : codec(codec), recorder(record ? std::make_unique<SpeechRecorder>(codec) : nullptr), events(*this) {}

void RtpReceiver::OnDatagram(std::span<UBYTE> datagram, std::int64_t atNs) {
    if (srtp) {
        std::size_t length = datagram.size();
        if (srtp->UnprotectRtp(datagram, length) != media::SrtpSession::Result::Ok) {
            ++counts.unauthentic;
            return;
        }
        datagram = datagram.first(length);
    }
    const std::optional<media::RtpPacketView> packet = media::RtpHeader::Parse(datagram);
    if (!packet) {
        ++counts.malformed;
        return;
    }
    ++counts.packets;
    bool newStream = false;
    if (!Follow(packet->header, atNs, newStream)) return;
    pendingStart = pendingStart || newStream;
    if (packet->header.payloadType == RtpSender::EventPayloadType) {
        ++counts.events;
        events.OnEventPacket(packet->header.ssrc, packet->header.timestamp, packet->payload, os_clock());
    } else if (packet->header.payloadType == PayloadTypeOf(codec)) {
        OnAudio(packet->header, packet->payload, atNs, pendingStart);
        pendingStart = false;
    } else {
        ++counts.foreign;
    }
}

// False for a packet that was heard before.
bool RtpReceiver::Follow(const media::RtpHeader& header, std::int64_t atNs, bool& newStream) {
    using Verdict = media::SequenceTracker::Verdict;
    const int lostBefore = std::max(0, tracker.Lost());
    const Verdict verdict = tracker.Accept(header.ssrc, header.sequence);
    newStream = verdict == Verdict::First || verdict == Verdict::NewSource || verdict == Verdict::Jump;
    if (newStream) {
        counts.missing += static_cast<std::uint64_t>(lostBefore);
        ++counts.sources;
    }
    counts.late += verdict == Verdict::Late ? 1 : 0;
    counts.duplicates += verdict == Verdict::Duplicate ? 1 : 0;
    const bool timed = verdict != Verdict::Late && verdict != Verdict::Duplicate;
    if (timed && header.payloadType == PayloadTypeOf(codec)) {
        tracker.AddTiming(header.timestamp, static_cast<ULONG>(atNs / NsPerUnit));
        counts.worstJitterMs = std::max(counts.worstJitterMs, ToMs(tracker.Jitter()));
    }
    return verdict != Verdict::Duplicate;
}

void RtpReceiver::OnAudio(const media::RtpHeader& header, std::span<const UBYTE> payload, std::int64_t atNs,
                          bool newStream) {
    ++counts.audio;
    events.OnAudio(header.ssrc, header.timestamp, os_clock());
    if (recorder) {
        recorder->Add(header.timestamp, payload, newStream);
        arrivals.push_back(atNs);
    }
    const ULONG number = NumberOf(header.sequence);
    CountPause(number, header, payload.size(), newStream);
    if (matcher) matcher->OnReceived(atNs, number, payload, newStream);
}

// The place of the packet that was just accepted among audio packets: events have sequence numbers, too.
ULONG RtpReceiver::NumberOf(UWORD sequence) const {
    const ULONG highest = tracker.HighestSequence();
    const auto behind = static_cast<UWORD>(highest - sequence);
    return highest - behind - static_cast<ULONG>(counts.events);
}

void RtpReceiver::CountPause(ULONG number, const media::RtpHeader& header, std::size_t payloadSize,
                             bool newStream) {
    const bool neighbour = !newStream && number == lastNumber + 1 && lastEvents == counts.events;
    if (neighbour && header.timestamp != nextTimestamp) ++counts.pauses;
    const std::size_t samples = payloadSize * FrameSamples / static_cast<std::size_t>(FrameBytes(codec));
    lastNumber = number;
    lastEvents = counts.events;
    nextTimestamp = header.timestamp + static_cast<ULONG>(samples);
}

void RtpReceiver::OnTime() {
    if (events.IsPending()) events.OnTime(os_clock());
}

ReceiveCounts RtpReceiver::Counts() const {
    ReceiveCounts result = counts;
    result.missing += static_cast<std::uint64_t>(std::max(0, tracker.Lost()));
    result.jitterMs = ToMs(tracker.Jitter());
    return result;
}

}  // namespace lab
