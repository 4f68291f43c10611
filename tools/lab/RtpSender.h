// Builds the packets of one RTP stream of speech coded beforehand, with telephone events in between.
#pragma once

#include <memory>
#include <span>

#include "platform/media/SrtpSession.h"
#include "platform/media/TelephoneEventSender.h"
#include "tools/lab/SpeechSource.h"

namespace lab {

// One thread. Nothing is sent here: every operation writes a packet into `room` and returns its length.
class RtpSender {
 public:
    static constexpr std::size_t MaxPacket = 1500;
    static constexpr UBYTE EventPayloadType = 101;

    // SSRC, sequence and time stamp begin at random, the sequence below 32768 (RFC 3711, 3.3.1).
    RtpSender(std::shared_ptr<const CodedSpeech> speech, std::size_t firstPacket);

    // Protects everything from now on.
    void Protect(std::unique_ptr<media::SrtpSession> session) { srtp = std::move(session); }

    // Goes on with other speech; the stream stays the same.
    void Say(std::shared_ptr<const CodedSpeech> newSpeech, std::size_t firstPacket);

    // The next packet of speech; 0 when protection fails.
    std::size_t Next(std::span<UBYTE> room);
    // Time goes on by one packet without speech being sent.
    void Pause();
    // A packet of a telephone event, which carries its own time stamp.
    std::size_t Event(const media::TelephoneEventSender::Packet& packet, std::span<UBYTE> room);

    const CodedSpeech& Speech() const { return *speech; }
    std::size_t FirstPacket() const { return firstPacket; }
    ULONG Ssrc() const { return ssrc; }
    ULONG Timestamp() const { return timestamp; }
    ULONG Packets() const { return packets; }
    ULONG Octets() const { return octets; }

    // Faults on purpose, for tests.
    void ChangeSource(ULONG newSsrc) { ssrc = newSsrc; }
    void SkipSequence(UWORD count) { sequence = static_cast<UWORD>(sequence + count); }

 private:
    std::size_t Write(UBYTE payloadType, bool marker, ULONG stamp, std::span<const UBYTE> payload,
                      std::span<UBYTE> room);

    std::shared_ptr<const CodedSpeech> speech;
    std::size_t firstPacket;
    std::unique_ptr<media::SrtpSession> srtp;
    std::size_t next;
    bool talking = false;
    ULONG ssrc;
    UWORD sequence;
    ULONG timestamp;
    ULONG packets = 0;
    ULONG octets = 0;
};

}  // namespace lab
