// Listens to one RTP stream: counts, order, jitter, digits, and on request delay and a recording.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "platform/media/RtpHeader.h"
#include "platform/media/SequenceTracker.h"
#include "platform/media/SrtpSession.h"
#include "platform/media/TelephoneEventReceiver.h"
#include "tools/lab/DelayMatcher.h"
#include "tools/lab/SpeechRecorder.h"

namespace lab {

struct ReceiveCounts {
    std::uint64_t packets = 0;  // of RTP that were understood, duplicates included
    std::uint64_t audio = 0;    // of these, packets with the codec's payload type
    std::uint64_t events = 0;   // of these, telephone events
    std::uint64_t missing = 0;  // gaps in the sequence numbers that were never filled
    std::uint64_t late = 0;     // out of order
    std::uint64_t duplicates = 0;
    std::uint64_t sources = 0;      // times a stream began: 1 for an undisturbed one
    std::uint64_t malformed = 0;    // no RTP
    std::uint64_t unauthentic = 0;  // refused by SRTP
    std::uint64_t foreign = 0;      // another payload type
    std::uint64_t pauses = 0;       // times the time stamp jumped between neighbouring audio packets
    double jitterMs = 0;            // RFC 3550, 6.4.1
    double worstJitterMs = 0;
};

// One thread.
class RtpReceiver : private media::TelephoneEventReceiver::Listener {
 public:
    struct Digit {
        char key;
        int ms;
    };

    RtpReceiver(Codec codec, bool record);

    void Protect(std::unique_ptr<media::SrtpSession> session) { srtp = std::move(session); }
    // Measures against what was sent; null: no more.
    void Measure(std::shared_ptr<DelayMatcher> newMatcher) { matcher = std::move(newMatcher); }

    // One datagram as received, decrypted in place; `atNs` on the scale of WallNs.
    void OnDatagram(std::span<UBYTE> datagram, std::int64_t atNs);
    // Reports a digit whose end never came. Call it now and then.
    void OnTime();

    ReceiveCounts Counts() const;
    const std::vector<Digit>& Digits() const { return digits; }
    const SpeechRecorder* Recording() const { return recorder.get(); }
    SpeechRecorder* Recording() { return recorder.get(); }
    // When each audio packet arrived (WallNs), while recording.
    const std::vector<std::int64_t>& ArrivalsNs() const { return arrivals; }
    media::SequenceTracker& Tracker() { return tracker; }

 private:
    void OnDigit(char key, int ms) override { digits.push_back({key, ms}); }
    bool Follow(const media::RtpHeader& header, std::int64_t atNs, bool& newStream);
    ULONG NumberOf(UWORD sequence) const;
    void CountPause(ULONG number, const media::RtpHeader& header, std::size_t payloadSize, bool newStream);
    void OnAudio(const media::RtpHeader& header, std::span<const UBYTE> payload, std::int64_t atNs,
                 bool newStream);

    const Codec codec;
    std::unique_ptr<media::SrtpSession> srtp;
    std::shared_ptr<DelayMatcher> matcher;
    std::unique_ptr<SpeechRecorder> recorder;
    media::SequenceTracker tracker;
    media::TelephoneEventReceiver events;
    std::vector<Digit> digits;
    std::vector<std::int64_t> arrivals;
    // The audio packet before.
    ULONG lastNumber = 0;
    ULONG nextTimestamp = 0;
    std::uint64_t lastEvents = 0;
    bool pendingStart = true;  // the next audio packet begins a stream
    ReceiveCounts counts;
};

}  // namespace lab
