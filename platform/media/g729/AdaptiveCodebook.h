// Contribution of the past excitation. Portable kernels; DecoderKernels.h has their contracts.
#pragma once

#include <cstdint>

namespace g729 {

void InterpolateLag(std::int16_t* excitation, int lag, int fraction);

void MixExcitation(std::int16_t* excitation, const std::int16_t* code, std::int16_t pitchGain,
                   std::int16_t codeGain);

}  // namespace g729
