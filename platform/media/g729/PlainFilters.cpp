#include "platform/media/g729/PlainFilters.h"

#include <algorithm>

#include "platform/media/g729/AdaptiveCodebook.h"
#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Filters.h"
#include "platform/media/g729/Sizes.h"
#include "platform/media/g729/Tables.h"

namespace g729::plain {

namespace {

// What a sum of products may come to before it is doubled, with room for rounding.
constexpr std::int64_t SumLimit = (std::int64_t{1} << 30) - 0x1000;
constexpr int RoundingShift = 12;
constexpr std::int32_t Half = 1 << (RoundingShift - 1);

std::int32_t Peak(const std::int16_t* x, int count) {
    std::int32_t peak = 0;
    for (int n = 0; n < count; n++) peak = std::max<std::int32_t>(peak, x[n] < 0 ? -x[n] : x[n]);
    return peak;
}

std::int64_t Magnitudes(const std::int16_t* a) {
    std::int64_t sum = 0;
    for (int i = 0; i <= Order; i++) sum += a[i] < 0 ? -a[i] : a[i];
    return sum;
}

}  // namespace

void Residual(const std::int16_t* a, const std::int16_t* x, std::int16_t* y) {
    if (Magnitudes(a) * Peak(x - Order, SubframeSamples + Order) > SumLimit) {
        g729::Residual(a, x, y);
        return;
    }
    std::int32_t sums[SubframeSamples] = {};
    for (int j = 0; j <= Order; j++) {
        for (int n = 0; n < SubframeSamples; n++) sums[n] += a[j] * x[n - j];
    }
    for (int n = 0; n < SubframeSamples; n++) y[n] = Clip16((sums[n] + Half) >> RoundingShift);
}

// Looks afterwards whether anything can have clipped: up to the sample where it first does, all is as it
// should be.
bool Synthesize(const std::int16_t* a, const std::int16_t* x, std::int16_t* y) {
    std::uint32_t y1 = y[-1], y2 = y[-2], y3 = y[-3], y4 = y[-4], y5 = y[-5];
    std::uint32_t y6 = y[-6], y7 = y[-7], y8 = y[-8], y9 = y[-9], y10 = y[-10];
    std::uint32_t taps[Coefficients];
    for (int i = 0; i <= Order; i++) taps[i] = a[i];
    std::int32_t outside = 0;
    for (int n = 0; n < SubframeSamples; n++) {
        std::uint32_t sum = x[n] * taps[0] + Half;
        sum -= taps[10] * y10 + taps[9] * y9 + taps[8] * y8 + taps[7] * y7 + taps[6] * y6;
        sum -= taps[5] * y5 + taps[4] * y4 + taps[3] * y3 + taps[2] * y2;
        sum -= taps[1] * y1;
        const std::int32_t now = static_cast<std::int32_t>(sum) >> RoundingShift;
        outside |= now - Min16;
        y[n] = Lo(now);
        y10 = y9, y9 = y8, y8 = y7, y7 = y6, y6 = y5;
        y5 = y4, y4 = y3, y3 = y2, y2 = y1, y1 = now;
    }
    const std::int32_t peak = std::max(Peak(x, SubframeSamples), Peak(y - Order, SubframeSamples + Order));
    // -32768 may be what was rounded up from beyond it.
    const bool isSure = (outside & ~0xFFFF) == 0 && peak <= Max16 && Magnitudes(a) * peak <= SumLimit;
    return isSure ? false : g729::Synthesize(a, x, y);
}

// With short lags the samples that are read are results in part: these come in blocks that need none of their
// own.
void InterpolateLag(std::int16_t* excitation, int lag, int fraction) {
    constexpr int Thirds = 3;
    constexpr int Taps = 2 * LagTaps;
    constexpr int LargestSum = 1 << 16;  // of the magnitudes of the taps of any phase
    const int phase = fraction > 0 ? Thirds - fraction : -fraction;
    const std::int16_t* past = excitation - lag - (fraction > 0 ? 1 : 0) - (LagTaps - 1);
    const int block = std::min(lag - LagTaps, SubframeSamples);
    for (int from = 0; from < SubframeSamples; from += block) {
        const int count = std::min(block, SubframeSamples - from);
        std::uint32_t sums[SubframeSamples] = {};
        for (int i = 0; i < Taps; i++) {
            const int k = i < LagTaps ? LagTaps - 1 - i : i - LagTaps;
            const std::int32_t tap = LagInterpolation[(i < LagTaps ? phase : Thirds - phase) + Thirds * k];
            for (int n = 0; n < count; n++) sums[n] += static_cast<std::uint32_t>(tap * past[from + n + i]);
        }
        for (int n = 0; n < count; n++) {
            excitation[from + n] = Clip16(static_cast<std::int32_t>(sums[n] + 0x4000) >> 15);
        }
    }
    if (Peak(past, SubframeSamples + Taps) > SumLimit / LargestSum)
        g729::InterpolateLag(excitation, lag, fraction);
}

}  // namespace g729::plain
