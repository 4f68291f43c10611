// Gain of the adaptive codebook before quantisation, and the products it is made of.
#pragma once

#include <cstdint>

#include "platform/media/g729/EncoderKernels.h"

namespace g729 {

// A number in mantissa and Q format.
struct Scaled {
    std::int16_t mantissa = 0;
    int q = 0;
};

struct PitchGain {
    static constexpr std::int16_t Limit = 19661;       // Q14, 1.2
    static constexpr std::int16_t TamedLimit = 15564;  // Q14, 0.95

    std::int16_t gain = 0;  // Q14, 0 to 1.2
    Scaled energy;          // of the filtered adaptive vector
    Scaled product;         // of it and the target; q is -15 when it is not positive

    // 40 samples each of target and filtered adaptive vector.
    static PitchGain Of(const EncoderKernels& kernels, const std::int16_t* target,
                        const std::int16_t* filtered);
};

}  // namespace g729
