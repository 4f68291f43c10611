// Coding and decoding of speech for the lab's own ends of a call: G.711 by formula, G.729 Annex A by the
// codec of the module.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/media/g729/Decoder.h"
#include "platform/media/g729/Encoder.h"
#include "tools/lab/Codec.h"

namespace lab {

// One a stream; keeps the codec's state from frame to frame.
class SpeechEncoder {
 public:
    explicit SpeechEncoder(Codec codec) : codec(codec) {}
    SpeechEncoder(const SpeechEncoder&) = delete;
    SpeechEncoder& operator=(const SpeechEncoder&) = delete;

    // Whole frames of 80 samples (what remains is left out) to FrameBytes(codec) bytes each.
    std::vector<UBYTE> Encode(std::span<const std::int16_t> samples);

 private:
    const Codec codec;
    g729::Encoder encoder;
};

// One a stream, likewise.
class SpeechDecoder {
 public:
    explicit SpeechDecoder(Codec codec) : codec(codec) {}
    SpeechDecoder(const SpeechDecoder&) = delete;
    SpeechDecoder& operator=(const SpeechDecoder&) = delete;

    // Whole frames to 80 samples each; what remains behind them is left out.
    std::vector<std::int16_t> Decode(std::span<const UBYTE> payload);

 private:
    const Codec codec;
    g729::Decoder decoder;
};

// What the speech `samples` sounds like after a sender coded it with `in` and the module sent it on as `out`:
// the reference with which received audio is compared.
std::vector<std::int16_t> ThroughModule(std::span<const std::int16_t> samples, Codec in, Codec out);

}  // namespace lab
