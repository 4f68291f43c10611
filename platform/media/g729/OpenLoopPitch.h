// Open-loop pitch: the lag around which the closed loop of a frame searches.
#pragma once

#include <cstdint>

#include "platform/media/g729/EncoderKernels.h"

namespace g729 {

// The lag, 20 to 143, of the weighted speech: 80 samples at `speech` and 143 before them.
int OpenLoopPitch(const EncoderKernels& kernels, const std::int16_t* speech);

}  // namespace g729
