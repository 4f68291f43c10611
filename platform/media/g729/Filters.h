// Linear prediction filters of order 10, coefficients in Q12, on the 40 samples of a subframe: the portable
// kernels (DecoderKernels.h has their contracts) and what needs no kernel.
#pragma once

#include <cstdint>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

void Residual(const std::int16_t* a, const std::int16_t* x, std::int16_t* y);

bool Synthesize(const std::int16_t* a, const std::int16_t* x, std::int16_t* y);

// The same for any number of samples.
bool Synthesize(const std::int16_t* a, const std::int16_t* x, std::int16_t* y, int count);

// The powers of gamma in Q15, each rounded, of which the first is not used.
struct Expansion {
    std::int16_t powers[Coefficients] = {};

    constexpr explicit Expansion(std::int16_t gamma) {
        powers[1] = gamma;
        for (int i = 2; i <= Order; i++) powers[i] = Round(LMult(powers[i - 1], gamma));
    }
};

// A(z / gamma).
void WeightCoefficients(const std::int16_t a[Coefficients], const Expansion& gamma,
                        std::int16_t weighted[Coefficients]);

}  // namespace g729
