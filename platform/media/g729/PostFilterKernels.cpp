#include "platform/media/g729/PostFilterKernels.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Filters.h"
#include "platform/media/g729/Sizes.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

constexpr int QuarterShift = 2;

std::int32_t QuarterProduct(const std::int16_t* x, const std::int16_t* y, std::int32_t sum) {
    for (int n = 0; n < SubframeSamples; n++) {
        const std::int16_t a = x[n] >> QuarterShift;
        const std::int16_t b = y[n] >> QuarterShift;
        sum = LMac(sum, a, b);
    }
    return sum;
}

}  // namespace

PeriodMatch MatchPeriod(const std::int16_t* x, int first) {
    constexpr int Lags = 7;
    PeriodMatch best{first, Min32, 0, 0};
    for (int lag = first; lag < first + Lags; lag++) {
        const std::int32_t correlation = QuarterProduct(x, x - lag, 0);
        if (correlation > best.correlation) {
            best.correlation = correlation;
            best.lag = lag;
        }
    }
    best.energy = QuarterProduct(x - best.lag, x - best.lag, 1);
    best.ownEnergy = QuarterProduct(x, x, 1);
    return best;
}

void AddPeriod(const std::int16_t* x, int lag, std::int16_t gain, std::int16_t pastGain, std::int16_t* y) {
    for (int n = 0; n < SubframeSamples; n++) y[n] = Add(Mult(gain, x[n]), Mult(pastGain, x[n - lag]));
}

ResponseEnergy Respond(const PostFilterShape& shape) {
    constexpr int Length = 22;
    std::int16_t impulse[Length] = {};
    std::copy_n(shape.numerator, Coefficients, impulse);
    std::int16_t memoryAndResponse[Order + Length] = {};
    std::int16_t* h = memoryAndResponse + Order;
    Synthesize(shape.denominator, impulse, h, Length);

    std::int32_t same = 0;
    std::int32_t next = 0;
    for (int n = 0; n < Length; n++) same = LMac(same, h[n], h[n]);
    for (int n = 0; n + 1 < Length; n++) next = LMac(next, h[n], h[n + 1]);
    return {Hi(same), Hi(next)};
}

void CompensateTilt(const std::int16_t* x, std::int16_t tilt, std::int16_t* y) {
    for (int n = 0; n < SubframeSamples; n++) y[n] = Sub(x[n], Mult(tilt, x[n - 1]));
}

std::int32_t Energy(const std::int16_t* x) {
    return QuarterProduct(x, x, 0);
}

void FollowRamp(GainRamp& ramp) {
    constexpr std::int16_t Persistence = 29491;  // Q15, 0.9
    for (std::int16_t& gain : ramp.gains) {
        ramp.gain = Add(Mult(ramp.gain, Persistence), ramp.step);
        gain = ramp.gain;
    }
}

void Amplify(const std::int16_t* x, const std::int16_t* gains, std::int16_t* y) {
    for (int n = 0; n < SubframeSamples; n++) y[n] = Hi(LShl(LMult(x[n], gains[n]), 3));
}

void HighPass(HighPassMemory& memory, const std::int16_t* x, std::int16_t* y) {
    for (int n = 0; n < SubframeSamples; n++) {
        std::int32_t sum = Multiply(Extract(memory.y[0]), OutputHighPassA[1]);
        sum = LAdd(sum, Multiply(Extract(memory.y[1]), OutputHighPassA[2]));
        sum = LMac(sum, x[n], OutputHighPassB[0]);
        sum = LMac(sum, x[n - 1], OutputHighPassB[1]);
        sum = LMac(sum, x[n - 2], OutputHighPassB[2]);
        sum = LShl(sum, 2);
        y[n] = Round(LShl(sum, 1));
        memory = {{sum, memory.y[0]}};
    }
}

}  // namespace g729
