#include "platform/media/g729/PostFilter.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Filters.h"
#include "platform/media/g729/Functions.h"

namespace g729 {

namespace {

constexpr Expansion NumeratorGamma(18022);    // Q15, 0.55
constexpr Expansion DenominatorGamma(22938);  // Q15, 0.70

std::int16_t Tilt(const ResponseEnergy& response) {
    constexpr std::int16_t Share = 26214;  // Q15, 0.8
    return response.next <= 0 ? 0 : DivS(Mult(response.next, Share), response.same);
}

// Where the gain is to go at every sample, from the energies before and behind the filter.
std::int16_t GainStep(std::int32_t before, std::int32_t behind) {
    constexpr std::int16_t Approach = 3276;  // Q15, 0.1
    if (before == 0) return 0;
    const int behindShift = NormL(behind) - 1;
    const int beforeShift = NormL(before);
    const std::int16_t ratio = DivS(Round(LShl(behind, behindShift)), Round(LShl(before, beforeShift)));
    const std::int32_t square = LShr(LShl(ratio, 7), behindShift - beforeShift);
    return Mult(Round(LShl(InverseSquareRoot(square), 9)), Approach);
}

struct LongTermGains {
    std::int16_t own;
    std::int16_t past;
};

// Q15; false where the signal has no period worth it.
bool FindGains(const PeriodMatch& match, LongTermGains& gains) {
    const std::int32_t positive = std::max(match.correlation, std::int32_t{0});
    const int shift = NormL(std::max({positive, match.energy, match.ownEnergy}));
    const std::int16_t correlation = Round(LShl(positive, shift));
    const std::int16_t energy = Round(LShl(match.energy, shift));
    const std::int16_t ownEnergy = Round(LShl(match.ownEnergy, shift));
    if (LSub(LMult(correlation, correlation), LMult(energy, ownEnergy) >> 1) < 0) return false;
    if (correlation > energy) {
        gains = {21845, 10923};  // two thirds and one
        return true;
    }
    const std::int16_t half = Mult(correlation, 16384) >> 1;
    const std::int16_t sum = Add(half, energy >> 1);
    gains.past = sum > 0 ? DivS(half, sum) : std::int16_t{0};
    gains.own = Sub(Max16, gains.past);
    return true;
}

}  // namespace

void PostFilter::Begin(const std::int16_t (&a)[Subframes][Coefficients]) {
    std::copy(residual + FrameSamples, std::end(residual), residual);
    std::copy_n(filtered + FrameSamples, Order, filtered);
    for (int i = 0; i < Subframes; i++) {
        WeightCoefficients(a[i], NumeratorGamma, shapes[i].numerator);
        WeightCoefficients(a[i], DenominatorGamma, shapes[i].denominator);
    }
}

void PostFilter::Prepare(int subframe, int lag, const std::int16_t* speech, const ResponseEnergy& response) {
    const int at = subframe * SubframeSamples;
    std::int16_t* x = residual + ResidualHistory + at;
    kernels.residual(shapes[subframe].numerator, speech, x);

    std::int16_t periodic[1 + SubframeSamples];
    periodic[0] = lastBeforeTilt;
    AddLongTerm(lag, x, periodic + 1);
    lastBeforeTilt = periodic[SubframeSamples];
    kernels.compensateTilt(periodic + 1, Tilt(response), compensated + at);
}

Synthesis PostFilter::Recursion(int subframe) {
    const int at = subframe * SubframeSamples;
    return {shapes[subframe].denominator, compensated + at, filtered + Order + at};
}

GainRamp& PostFilter::Aim(int subframe, const std::int16_t* speech) {
    const std::int32_t behind = kernels.energy(Recursion(subframe).y);
    isSilent = behind == 0;
    ramp.step = isSilent ? std::int16_t{0} : GainStep(kernels.energy(speech), behind);
    return ramp;
}

void PostFilter::Amplify(int subframe, std::int16_t* y) {
    const std::int16_t* x = Recursion(subframe).y;
    if (!isSilent) return kernels.amplify(x, ramp.gains, y);
    std::copy_n(x, SubframeSamples, y);
    ramp.gain = 0;
}

void PostFilter::AddLongTerm(int lag, const std::int16_t* x, std::int16_t* y) const {
    constexpr int Around = 3;
    const PeriodMatch match = kernels.matchPeriod(x, std::min(lag, MaxLag - Around) - Around);
    LongTermGains gains{};
    if (FindGains(match, gains)) {
        kernels.addPeriod(x, match.lag, gains.own, gains.past, y);
    } else {
        std::copy_n(x, SubframeSamples, y);
    }
}

}  // namespace g729
