#include "platform/media/g729/PitchGain.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"

namespace g729 {

namespace {

constexpr int HalfDigits = 15;

// `sum`, which already has `shift` fewer fraction bits, to 16 bits.
Scaled Normalise(std::int32_t sum, int shift) {
    const int norm = NormL(sum);
    return {Round(LShl(sum, norm)), norm - shift};
}

}  // namespace

PitchGain PitchGain::Of(const EncoderKernels& kernels, const std::int16_t* target,
                        const std::int16_t* filtered) {
    std::int16_t quarter[SubframeSamples];
    for (int n = 0; n < SubframeSamples; n++) quarter[n] = static_cast<std::int16_t>(filtered[n] >> 2);

    bool clipped = false;
    std::int32_t sum = kernels.product(filtered, filtered, 1, clipped);
    const Scaled energy =
        clipped ? Normalise(kernels.product(quarter, quarter, 1, clipped), 4) : Normalise(sum, 0);

    clipped = false;
    sum = kernels.product(target, filtered, 0, clipped);
    const Scaled product =
        clipped ? Normalise(kernels.product(target, quarter, 0, clipped), 2) : Normalise(sum, 0);

    PitchGain result;
    result.energy = {energy.mantissa, HalfDigits - energy.q};
    result.product = {product.mantissa, product.mantissa <= 0 ? -HalfDigits : HalfDigits - product.q};
    if (product.mantissa <= 0) return result;
    const std::int16_t ratio = DivS(static_cast<std::int16_t>(product.mantissa >> 1), energy.mantissa);
    result.gain = std::min(Shr(ratio, product.q - energy.q), Limit);
    return result;
}

}  // namespace g729
