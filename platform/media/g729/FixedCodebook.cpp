#include "platform/media/g729/FixedCodebook.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

void DecodePulses(int positions, int signs, std::int16_t* code) {
    constexpr int Step = 5;  // between positions of a track
    const int last = positions >> 9;
    const int at[] = {(positions & 7) * Step, ((positions >> 3) & 7) * Step + 1,
                      ((positions >> 6) & 7) * Step + 2, ((last >> 1) & 7) * Step + 3 + (last & 1)};
    std::fill_n(code, SubframeSamples, std::int16_t{0});
    for (int pulse = 0; pulse < 4; pulse++) {
        code[at[pulse]] = (signs >> pulse) & 1 ? PositivePulse : NegativePulse;
    }
}

void Sharpen(std::int16_t* v, int lag, std::int16_t sharpening) {
    const std::int16_t factor = Shl(sharpening, 1);
    for (int n = lag; n < SubframeSamples; n++) v[n] = Add(v[n], Mult(v[n - lag], factor));
}

}  // namespace g729
