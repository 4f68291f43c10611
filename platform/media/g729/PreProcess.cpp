#include "platform/media/g729/PreProcess.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/Tables.h"

// The recursive part is a product of the 32-bit memory and a 16-bit coefficient, floored to an even number.
// Memory and coefficients keep the sum below 1.3e9, so that it cannot clip before the last shift. Everything
// here is half of what the standard computes, which is even.

namespace g729 {

namespace {

constexpr int OutputShift = 3;
constexpr int HalfShift = OutputShift + 1;
constexpr std::int64_t A1 = 7807;  // InputHighPassA, known to the compiler
constexpr std::int64_t A2 = -3733;

// Of the inputs.
void Feed(const PreProcessMemory& memory, const std::int16_t* input, std::int32_t* feed) {
    std::int16_t x[FrameSamples + 2] = {memory.x2, memory.x1};
    std::copy_n(input, FrameSamples, x + 2);
    for (int n = 0; n < FrameSamples; n++) {
        feed[n] = x[n + 2] * InputHighPassB[0] + x[n + 1] * InputHighPassB[1] + x[n] * InputHighPassB[2];
    }
}

// Does without the shift, on which the next sample would have to wait. False where the shift clips.
bool Straight(PreProcessMemory& memory, const std::int16_t* input, std::int16_t* output) {
    constexpr std::int64_t Limit = std::int64_t{1} << (31 - HalfShift);
    constexpr int RoundingShift = 16 - HalfShift;
    constexpr std::int64_t Half = 1 << (RoundingShift - 1);
    std::int32_t feed[FrameSamples];
    Feed(memory, input, feed);
    std::int64_t y1 = memory.y1 >> HalfShift;
    std::int64_t y2 = memory.y2 >> HalfShift;
    std::int64_t outside = 0;
    for (int n = 0; n < FrameSamples; n++) {
        const std::int64_t y = ((y1 * A1) >> 12) + (((y2 * A2) >> 12) + feed[n]);
        outside |= (y + Limit) | (y + Half + Limit);
        output[n] = static_cast<std::int16_t>((y + Half) >> RoundingShift);
        y2 = y1;
        y1 = y;
    }
    if ((outside & ~(2 * Limit - 1)) != 0) return false;
    memory = {static_cast<std::int32_t>(y1 * (1 << HalfShift)),
              static_cast<std::int32_t>(y2 * (1 << HalfShift)), input[FrameSamples - 1],
              input[FrameSamples - 2]};
    return true;
}

}  // namespace

void PreProcess(PreProcessMemory& memory, const std::int16_t input[FrameSamples],
                std::int16_t output[FrameSamples]) {
    const bool isClipped = ((memory.y1 | memory.y2) & ((1 << HalfShift) - 1)) != 0;
    if (isClipped || !Straight(memory, input, output)) reference::PreProcess(memory, input, output);
}

}  // namespace g729
