// What the codebooks give to the target.
#include <algorithm>

#include "platform/media/g729/ReferenceKernels.h"

namespace g729::reference {

void RemoveScaled(const std::int16_t* target, const std::int16_t* x, std::int16_t gain, std::int16_t* rest) {
    for (int n = 0; n < SubframeSamples; n++) rest[n] = Sub(target[n], Hi(LShl(LMult(x[n], gain), 1)));
}

void RespondToPulses(const std::int16_t* response, const int* positions, unsigned signs, std::int16_t* sum) {
    std::fill_n(sum, SubframeSamples, std::int16_t{0});
    for (int pulse = 0; pulse < 4; pulse++) {
        const bool isPositive = (signs >> pulse & 1) != 0;
        for (int n = positions[pulse]; n < SubframeSamples; n++) {
            const std::int16_t one = response[n - positions[pulse]];
            sum[n] = isPositive ? Add(sum[n], one) : Sub(sum[n], one);
        }
    }
}

}  // namespace g729::reference
