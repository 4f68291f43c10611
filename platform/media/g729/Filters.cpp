#include "platform/media/g729/Filters.h"

#include "platform/media/g729/BasicOps.h"

namespace g729 {

void Residual(const std::int16_t* a, const std::int16_t* x, std::int16_t* y) {
    for (int n = 0; n < SubframeSamples; n++) {
        std::int32_t sum = LMult(x[n], a[0]);
        for (int j = 1; j <= Order; j++) sum = LMac(sum, a[j], x[n - j]);
        y[n] = Round(LShl(sum, 3));
    }
}

bool Synthesize(const std::int16_t* a, const std::int16_t* x, std::int16_t* y) {
    return Synthesize(a, x, y, SubframeSamples);
}

bool Synthesize(const std::int16_t* a, const std::int16_t* x, std::int16_t* y, int count) {
    bool clipped = false;
    for (int n = 0; n < count; n++) {
        std::int32_t sum = LMult(x[n], a[0], clipped);
        for (int j = 1; j <= Order; j++) sum = LMsu(sum, a[j], y[n - j], clipped);
        y[n] = Round(LShl(sum, 3, clipped), clipped);
    }
    return clipped;
}

void WeightCoefficients(const std::int16_t a[Coefficients], const Expansion& gamma,
                        std::int16_t weighted[Coefficients]) {
    for (int i = 0; i <= Order; i++)
        weighted[i] = static_cast<std::int16_t>((a[i] * gamma.powers[i] + 0x4000) >> 15);
    weighted[0] = a[0];
}

}  // namespace g729
