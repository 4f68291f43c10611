#include "platform/media/g729/CodebookSearch.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/FixedCodebook.h"

namespace g729 {

namespace {

constexpr int Pulses = 4;
constexpr int Step = 5;

std::uint16_t PositionBits(const int* at) {
    const int last = 2 * (at[3] / Step) + at[3] % Step - 3;
    return static_cast<std::uint16_t>(at[0] / Step | at[1] / Step << 3 | at[2] / Step << 6 | last << 9);
}

}  // namespace

CodebookVector SearchCodebook(const EncoderKernels& kernels, std::int16_t* response,
                              const std::int16_t* target, int lag, std::int16_t sharpening) {
    Sharpen(response, lag, sharpening);
    std::int16_t wanted[SubframeSamples];
    kernels.filterBackward(response, target, wanted);
    int at[Pulses];
    kernels.searchPulses(response, wanted, at);

    CodebookVector result;
    std::fill_n(result.code, SubframeSamples, std::int16_t{0});
    result.positions = PositionBits(at);
    for (int pulse = 0; pulse < Pulses; pulse++) {
        const bool positive = wanted[at[pulse]] >= 0;
        result.signs = static_cast<std::uint8_t>(result.signs | positive << pulse);
        result.code[at[pulse]] = positive ? PositivePulse : NegativePulse;
    }
    kernels.respondToPulses(response, at, result.signs, result.filtered);
    Sharpen(result.code, lag, sharpening);
    return result;
}

}  // namespace g729
