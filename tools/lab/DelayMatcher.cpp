#include "tools/lab/DelayMatcher.h"

#include <algorithm>

#include "tools/lab/SpeechCodec.h"

namespace lab {

namespace {
constexpr std::int64_t NsPerUs = 1000;
}

DelayMatcher::DelayMatcher(const CodedSpeech& sent, std::size_t firstPacket,
                           std::shared_ptr<const SpeechReference> heard)
    : packetSamples(sent.PacketSamples()),
      start(firstPacket % sent.Packets() * sent.PacketSamples()),
      reference(std::move(heard)) {}

void DelayMatcher::OnSent(std::int64_t atNs) {
    const std::lock_guard held(lock);
    if (sentAt.empty()) epochNs = atNs;
    sentAt.push_back(static_cast<ULONG>((atNs - epochNs) / NsPerUs));
}

void DelayMatcher::OnReceived(std::int64_t atNs, ULONG number, std::span<const UBYTE> payload,
                              bool newStream) {
    const std::lock_guard held(lock);
    const bool restarted = newStream && begun;
    const std::int64_t samples =
        static_cast<std::int64_t>(payload.size()) * FrameSamples / FrameBytes(reference->out);
    const std::int64_t position = PositionOf(number, restarted, samples);
    ++counts.received;
    samplesReceived += samples;
    if (reference->IsExact()) {
        if (restarted && anchored) PlaceWaiting();
        if (restarted) anchored = false;
        MatchPacket(atNs, position, payload);
        return;
    }
    broken = broken || restarted;
    if (broken) return;
    Note(atNs, position + samples - 1);
    Keep(position, payload);
}

// Where the packet stands in the output, in samples from its first packet on. Lost packets count as large as
// this one; time stamps play no part, for a sender may let them jump over a pause. A stream that begins anew
// goes on behind the one before.
std::int64_t DelayMatcher::PositionOf(ULONG number, bool restarted, std::int64_t samples) {
    const std::int64_t steps = restarted ? 1 : static_cast<std::int32_t>(number - lastNumber);
    std::int64_t position = lastPosition + steps * samples;
    if (steps > 0) position = lastPosition + lastSamples + (steps - 1) * samples;
    if (!begun) position = 0;
    begun = true;
    lastNumber = number;
    lastPosition = position;
    lastSamples = samples;
    return position;
}

void DelayMatcher::Note(std::int64_t atNs, std::int64_t lastSample) {
    arrivals.push_back({static_cast<ULONG>((atNs - epochNs) / NsPerUs), static_cast<ULONG>(lastSample)});
}

void DelayMatcher::MatchPacket(std::int64_t atNs, std::int64_t position, std::span<const UBYTE> payload) {
    const std::vector<std::int16_t> heard = SpeechDecoder(reference->out).Decode(payload);
    const std::int64_t last = position + static_cast<std::int64_t>(heard.size()) - 1;
    const bool fits = anchored && Fits(position + offset, heard);
    if (!IsLoud(heard)) {
        if ((fits || !anchored) && waiting.size() < MostWaiting) {
            waiting.push_back({static_cast<ULONG>((atNs - epochNs) / NsPerUs), static_cast<ULONG>(last)});
        }
        return;
    }
    if (!fits && !Search(position, heard)) return;
    PlaceWaiting();
    Note(atNs, last + offset);
}

// The quiet packets since the last loud one have the same place in the input, as the loud one behind them
// shows.
void DelayMatcher::PlaceWaiting() {
    for (const Arrival& quiet : waiting) {
        arrivals.push_back({quiet.atUs, quiet.lastSample + static_cast<ULONG>(offset)});
    }
    waiting.clear();
}

bool DelayMatcher::Fits(std::int64_t position, std::span<const std::int16_t> heard) const {
    if (position < 0 || position + static_cast<std::int64_t>(heard.size()) > SamplesSent()) return false;
    return IsSamePacket(*reference, start + static_cast<std::size_t>(position), heard);
}

bool DelayMatcher::Search(std::int64_t position, std::span<const std::int16_t> heard) {
    const std::int64_t last = SamplesSent() - static_cast<std::int64_t>(heard.size());
    for (std::int64_t candidate =
             std::max<std::int64_t>(0, last - SearchSamples) / FrameSamples * FrameSamples;
         candidate <= last; candidate += FrameSamples) {
        if (!Fits(candidate, heard)) continue;
        Anchor(candidate - position);
        return true;
    }
    return false;
}

void DelayMatcher::Anchor(std::int64_t newOffset) {
    if (anchored) {
        ++counts.slips;
        counts.slippedSamples += newOffset - offset;
        waiting.clear();  // who knows on which side of the slip they stood
    }
    anchored = true;
    offset = newOffset;
}

void DelayMatcher::Keep(std::int64_t position, std::span<const UBYTE> payload) {
    const Piece piece{position, SamplesSent(), {payload.begin(), payload.end()}};
    if (head.empty() || position - head.front().position < WindowSamples) head.push_back(piece);
    tail.push_back(piece);
    while (position - tail.front().position >= WindowSamples) tail.pop_front();
}

// The offset of a window by correlation of what it holds, gaps left silent.
bool DelayMatcher::Locate(const std::deque<Piece>& window, std::int64_t& found) const {
    if (window.empty()) return false;
    const std::int64_t begin = window.front().position;
    SpeechDecoder decoder(reference->out);
    std::vector<std::int16_t> heard;
    for (const Piece& piece : window) {
        const std::vector<std::int16_t> audio = decoder.Decode(piece.payload);
        const std::int64_t at = piece.position - begin;
        if (at < 0 || at > 2 * WindowSamples) continue;
        heard.resize(std::max(heard.size(), static_cast<std::size_t>(at) + audio.size()));
        std::copy(audio.begin(), audio.end(), heard.begin() + at);
    }
    if (static_cast<std::int64_t>(heard.size()) <= SettleSamples) return false;
    const std::int64_t last = window.front().sentThen;
    const std::int64_t first = std::max<std::int64_t>(0, last - SearchSamples) / FrameSamples * FrameSamples;
    const std::optional<std::size_t> place = FindStretch(
        *reference, start + static_cast<std::size_t>(first + SettleSamples),
        start + static_cast<std::size_t>(last + SettleSamples), std::span(heard).subspan(SettleSamples));
    if (!place) return false;
    found = static_cast<std::int64_t>(*place - start) - SettleSamples - begin;
    return true;
}

void DelayMatcher::Measure(const Arrival& arrival, std::int64_t shift, DelayStatistics& into) const {
    const std::int64_t sample = static_cast<std::int64_t>(arrival.lastSample) + shift;
    if (sample < 0 || sample >= SamplesSent()) return;
    const std::size_t packet = static_cast<std::size_t>(sample) / packetSamples;
    const auto us = static_cast<std::int32_t>(arrival.atUs - sentAt[packet]);
    into.Add(us);
    if (note) note(epochNs + arrival.atUs * NsPerUs, us);
}

// Windows: measures with the offsets that head and tail give.
void DelayMatcher::Resolve(DelayResult& result) {
    std::int64_t headOffset = 0;
    std::int64_t tailOffset = 0;
    if (!Locate(head, headOffset)) return;
    const bool known = Locate(tail, tailOffset);
    const bool steady = known && headOffset == tailOffset;
    if (known && !steady) {
        ++result.slips;
        result.slippedSamples += tailOffset - headOffset;
    }
    const std::int64_t headEnd = head.back().position;
    const std::int64_t tailBegin = known ? tail.front().position : INT64_MAX;
    for (const Arrival& arrival : arrivals) {
        if (steady || arrival.lastSample < headEnd) {
            Measure(arrival, headOffset, result.delays);
        } else if (arrival.lastSample >= tailBegin) {
            Measure(arrival, tailOffset, result.delays);
        }
    }
}

std::size_t DelayMatcher::PacketsSent() const {
    const std::lock_guard held(lock);
    return sentAt.size();
}

std::int64_t DelayMatcher::SamplesReceived() const {
    const std::lock_guard held(lock);
    return samplesReceived;
}

DelayResult DelayMatcher::Finish(const OnDelay& onDelay) {
    const std::lock_guard held(lock);
    note = onDelay;
    DelayResult result = std::move(counts);
    if (reference->IsExact()) {
        if (anchored) PlaceWaiting();
        for (const Arrival& arrival : arrivals) Measure(arrival, 0, result.delays);
    } else {
        Resolve(result);
    }
    result.unmatched = result.received - result.delays.Values().size();
    return result;
}

}  // namespace lab
