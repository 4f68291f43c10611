// Vector quantiser of the line spectral frequencies: two predictors, two codebook stages.
#pragma once

#include <cstdint>

#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/LspMemory.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

// The indices that describe the ten frequencies `lsf` (Q13) best after what is in `memory`, which stays as it
// is.
LspIndices QuantizeLsp(const EncoderKernels& kernels, const LspMemory& memory, const std::int16_t lsf[Order]);

}  // namespace g729
