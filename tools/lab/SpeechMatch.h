// Finds where in known speech a piece of received audio comes from.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "tools/lab/SpeechSource.h"

namespace lab {

// What a receiver is to hear of speech that is sent round and round: ThroughModule of it. Immutable, shared.
struct SpeechReference {
    Codec in;
    Codec out;
    std::vector<std::int16_t> samples;

    static std::shared_ptr<const SpeechReference> Of(const CodedSpeech& sent, Codec out);
    // Whether a single packet can be recognised: G.711 changes samples by quantisation alone. Through G.729
    // the wave form depends on the coder's past, so that only long stretches can be compared.
    bool IsExact() const { return in != Codec::G729 && out != Codec::G729; }
    std::int16_t At(std::size_t position) const { return samples[position % samples.size()]; }
};

// Whether `heard` is the reference at `position`, but for quantisation: what differs has less than a
// hundredth of the energy (20 dB), apart from the smallest steps of the laws.
bool IsSamePacket(const SpeechReference& reference, std::size_t position,
                  std::span<const std::int16_t> heard);

// Whether audio is loud enough to be recognised at all.
bool IsLoud(std::span<const std::int16_t> audio);

// Of the positions `first`, `first` + 80, ... up to `last`, the one at which the reference resembles `heard`
// most by normalised correlation. Nothing when none reaches `Resemblance`.
constexpr double Resemblance = 0.7;
std::optional<std::size_t> FindStretch(const SpeechReference& reference, std::size_t first, std::size_t last,
                                       std::span<const std::int16_t> heard);

}  // namespace lab
