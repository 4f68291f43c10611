// Measures the delay that the module adds to one direction of a call, without marking the speech.
//
// What is measured. The added delay of a packet that comes out of the module is the time at which the kernel
// received it, less the time at which the lab sent the packet that carried its last sample: from the moment
// at which all of its audio had been sent to the moment at which it arrived. The module's packetising is in
// it; the sender's own packetising and the look-ahead of a codec are not. Two passes through the loopback
// interface are in it.
//
// How. The module keeps order, so sample n of its output is sample n + d of the input, where d stays the same
// until audio is lost inside. The place of a packet in the output is known from its sequence number. Where d
// comes from:
//  - G.711 to G.711: every loud packet is compared with the speech that was sent. Where it does not fit,
//    it is searched for in the latest three seconds of speech sent, and d begins anew: a slip. Quiet packets
//    are measured when the loud ones around them have the same d.
//  - with G.729 on either side: the wave form of a packet does not tell its place, two seconds of speech do.
//    d is found by correlation in the first two seconds and again in the last two. When both agree, all
//    packets are measured; when they do not (a slip), only the packets of those four seconds are.
// Packets whose place is not known are counted (`unmatched`) and not measured.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "tools/lab/DelayStatistics.h"
#include "tools/lab/SpeechMatch.h"

namespace lab {

struct DelayResult {
    DelayStatistics delays;
    std::size_t received = 0;         // audio packets
    std::size_t unmatched = 0;        // of these, not measured
    std::size_t slips = 0;            // times audio was found missing (or repeated) inside the module
    std::int64_t slippedSamples = 0;  // missing less repeated
};

// Any thread: sender and receiver may be different ones. A packet costs 4 bytes when sent and 8 when
// received, until Finish.
class DelayMatcher {
 public:
    // `firstPacket`: of `sent`, with which the sender begins. `reference`: what is to be heard of it.
    DelayMatcher(const CodedSpeech& sent, std::size_t firstPacket,
                 std::shared_ptr<const SpeechReference> reference);

    // The sender's next audio packet left at `atNs`.
    void OnSent(std::int64_t atNs);
    // An audio packet arrived at `atNs`. `number`: its place among the audio packets of its stream, those
    // that were lost included. `newStream`: the first of a stream.
    void OnReceived(std::int64_t atNs, ULONG number, std::span<const UBYTE> payload, bool newStream);

    std::size_t PacketsSent() const;
    std::int64_t SamplesReceived() const;
    // Called for every delay that is measured, with the time of arrival.
    using OnDelay = std::function<void(std::int64_t arrivalNs, std::int64_t us)>;
    // Once, when all has arrived.
    DelayResult Finish(const OnDelay& onDelay = {});

 private:
    static constexpr std::int64_t SearchSamples = 3L * SampleRate;
    static constexpr std::int64_t WindowSamples = 2L * SampleRate;
    static constexpr std::size_t MostWaiting = 10000;
    static constexpr std::int64_t SettleSamples = SampleRate / 5;  // in which a fresh decoder finds its way

    struct Arrival {
        ULONG atUs;        // since the first packet was sent, wrapping
        ULONG lastSample;  // of the input, or of the output where the place is not known yet
    };
    // A stretch of what came out, for correlation.
    struct Piece {
        std::int64_t position;  // of the output
        std::int64_t sentThen;  // samples sent when it arrived
        std::vector<UBYTE> payload;
    };

    std::int64_t SamplesSent() const { return static_cast<std::int64_t>(sentAt.size() * packetSamples); }
    std::int64_t PositionOf(ULONG number, bool restarted, std::int64_t samples);
    void Note(std::int64_t atNs, std::int64_t lastSample);
    void Anchor(std::int64_t newOffset);
    void PlaceWaiting();
    void MatchPacket(std::int64_t atNs, std::int64_t position, std::span<const UBYTE> payload);
    bool Fits(std::int64_t position, std::span<const std::int16_t> heard) const;
    bool Search(std::int64_t position, std::span<const std::int16_t> heard);
    void Keep(std::int64_t position, std::span<const UBYTE> payload);
    bool Locate(const std::deque<Piece>& window, std::int64_t& found) const;
    void Resolve(DelayResult& result);
    void Measure(const Arrival& arrival, std::int64_t shift, DelayStatistics& into) const;

    mutable std::mutex lock;
    const std::size_t packetSamples;
    const std::size_t start;  // of the stream in the reference
    const std::shared_ptr<const SpeechReference> reference;
    std::int64_t epochNs = 0;
    std::vector<ULONG> sentAt;  // microseconds since the first, wrapping
    std::vector<Arrival> arrivals;
    std::vector<Arrival> waiting;  // places of the output: quiet packets since the last loud one

    OnDelay note;  // of Finish

    bool begun = false;
    ULONG lastNumber = 0;
    std::int64_t lastPosition = 0;
    std::int64_t lastSamples = 0;
    std::int64_t samplesReceived = 0;

    bool anchored = false;
    std::int64_t offset = 0;  // input position less output position
    bool broken = false;      // windows: the stream began anew, nothing after that is measured
    std::deque<Piece> head;
    std::deque<Piece> tail;
    DelayResult counts;
};

}  // namespace lab
