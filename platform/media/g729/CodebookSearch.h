// Fixed codebook of a subframe: four pulses that give what the adaptive codebook leaves of the target.
#pragma once

#include <cstdint>

#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

struct CodebookVector {
    std::uint16_t positions = 0;             // as sent, 13 bits
    std::uint8_t signs = 0;                  // as sent, 4 bits
    std::int16_t code[SubframeSamples];      // Q13, with pitch sharpening
    std::int16_t filtered[SubframeSamples];  // Q12, through the weighted synthesis filter
};

// `response` is the impulse response of that filter, in which pitch sharpening is applied in place; `target`
// 40 samples; `sharpening` in Q14.
CodebookVector SearchCodebook(const EncoderKernels& kernels, std::int16_t* response,
                              const std::int16_t* target, int lag, std::int16_t sharpening);

}  // namespace g729
