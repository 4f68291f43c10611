// Speech as a sender needs it: real words at 8 kHz, coded beforehand into packets that are sent round and
// round.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/lab/Codec.h"

namespace lab {

// A stretch of speech and its packets. Immutable, shared by any number of senders and threads.
struct CodedSpeech {
    Codec codec;
    int packetMs;
    std::vector<std::int16_t> samples;  // a whole number of packets
    std::vector<UBYTE> coded;

    std::size_t PacketSamples() const { return static_cast<std::size_t>(packetMs) * SampleRate / 1000; }
    std::size_t Packets() const { return samples.size() / PacketSamples(); }
    // Payload of packet `index`, which wraps round at the end of the speech.
    std::span<const UBYTE> Packet(std::size_t index) const;
};

class SpeechSource {
 public:
    // Where speech comes from when the user names no file.
    static const char* const DefaultFile;

    // The file at `path`, or DefaultFile when empty. Nothing, with advice in `error`, when there is no such
    // speech or less than a second of it.
    static std::optional<SpeechSource> Open(const std::string& path, std::string& error);
    // Of samples at hand, as tests have them.
    explicit SpeechSource(std::vector<std::int16_t> samples) : samples(std::move(samples)) {}

    const std::vector<std::int16_t>& Samples() const { return samples; }

    // The speech, cut to whole packets of `packetMs` (a multiple of 10) and coded.
    std::shared_ptr<const CodedSpeech> Code(Codec codec, int packetMs) const;

 private:
    std::vector<std::int16_t> samples;
};

}  // namespace lab
