// Windowed autocorrelation of the speech, the start of linear prediction.
#pragma once

#include <cstdint>

#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

// Lags 0..10 of the 240 samples at `speech`: normalised so that r[0] fills 32 bits, and smoothed by the lag
// window.
void Autocorrelation(const EncoderKernels& kernels, const std::int16_t* speech, Dpf r[Coefficients]);

}  // namespace g729
