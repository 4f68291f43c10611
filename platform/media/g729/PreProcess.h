// The coder's input filter: a high-pass of second order at 140 Hz that also halves the level.
#pragma once

#include <cstdint>

#include "platform/media/g729/Sizes.h"

namespace g729 {

// The filter between two frames. `y1` and `y2` are the last outputs in Q16, of which the lowest bit is never
// looked at.
struct PreProcessMemory {
    std::int32_t y1 = 0;
    std::int32_t y2 = 0;
    std::int16_t x1 = 0;
    std::int16_t x2 = 0;
};

void PreProcess(PreProcessMemory& memory, const std::int16_t input[FrameSamples],
                std::int16_t output[FrameSamples]);

}  // namespace g729
