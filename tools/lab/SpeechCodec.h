// Coding and decoding of speech for the lab's own ends of a call: G.711 by formula, G.729 Annex A with
// libbcg729.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "tools/lab/Codec.h"

struct bcg729EncoderChannelContextStruct_struct;
struct bcg729DecoderChannelContextStruct_struct;

namespace lab {

// One a stream; keeps the codec's state from frame to frame.
class SpeechEncoder {
 public:
    explicit SpeechEncoder(Codec codec);
    ~SpeechEncoder();
    SpeechEncoder(const SpeechEncoder&) = delete;
    SpeechEncoder& operator=(const SpeechEncoder&) = delete;

    // Whole frames of 80 samples (what remains is left out) to FrameBytes(codec) bytes each.
    std::vector<UBYTE> Encode(std::span<const std::int16_t> samples);

 private:
    const Codec codec;
    bcg729EncoderChannelContextStruct_struct* g729 = nullptr;
};

// One a stream, likewise.
class SpeechDecoder {
 public:
    explicit SpeechDecoder(Codec codec);
    ~SpeechDecoder();
    SpeechDecoder(const SpeechDecoder&) = delete;
    SpeechDecoder& operator=(const SpeechDecoder&) = delete;

    // Whole frames to 80 samples each; what remains behind them is left out.
    std::vector<std::int16_t> Decode(std::span<const UBYTE> payload);

 private:
    const Codec codec;
    bcg729DecoderChannelContextStruct_struct* g729 = nullptr;
};

// What the speech `samples` sounds like after a sender coded it with `in` and the module sent it on as `out`:
// the reference with which received audio is compared.
std::vector<std::int16_t> ThroughModule(std::span<const std::int16_t> samples, Codec in, Codec out);

}  // namespace lab
