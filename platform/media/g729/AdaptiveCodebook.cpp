#include "platform/media/g729/AdaptiveCodebook.h"

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Sizes.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

void InterpolateLag(std::int16_t* excitation, int lag, int fraction) {
    constexpr int Thirds = 3;
    const int phase = fraction > 0 ? Thirds - fraction : -fraction;
    const std::int16_t* past = excitation - lag - (fraction > 0 ? 1 : 0);
    for (int n = 0; n < SubframeSamples; n++) {
        std::int32_t sum = 0;
        for (int i = 0; i < LagTaps; i++) {
            sum = LMac(sum, past[n - i], LagInterpolation[phase + Thirds * i]);
            sum = LMac(sum, past[n + 1 + i], LagInterpolation[Thirds - phase + Thirds * i]);
        }
        excitation[n] = Round(sum);
    }
}

void MixExcitation(std::int16_t* excitation, const std::int16_t* code, std::int16_t pitchGain,
                   std::int16_t codeGain) {
    for (int n = 0; n < SubframeSamples; n++) {
        excitation[n] = Round(LShl(LMac(LMult(excitation[n], pitchGain), code[n], codeGain), 1));
    }
}

}  // namespace g729
