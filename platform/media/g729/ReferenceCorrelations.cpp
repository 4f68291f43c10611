// Sums of products: autocorrelation, open loop, closed loop.
#include <algorithm>

#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/Tables.h"

namespace g729::reference {

namespace {

constexpr int Window = 240;

// Open-loop sums take every second sample.
constexpr int Decimation = 2;

std::int32_t SumAt(const std::int16_t* w, int lag, std::int32_t start) {
    std::int32_t sum = start;
    for (int n = 0; n < FrameSamples; n += Decimation) sum = LMac(sum, w[n], w[n - lag]);
    return sum;
}

std::int32_t EnergyAt(const std::int16_t* w, int lag) {
    std::int32_t sum = 1;
    for (int n = 0; n < FrameSamples; n += Decimation) sum = LMac(sum, w[n - lag], w[n - lag]);
    return sum;
}

// Brings the signal to a level that neither clips in the sums nor loses digits; `scaled` has the same origin.
void Scale(const std::int16_t* speech, std::int16_t* scaled) {
    bool clipped = false;
    std::int32_t energy = 0;
    for (int n = -MaxLag; n < FrameSamples; n += Decimation)
        energy = LMac(energy, speech[n], speech[n], clipped);
    const int shift = clipped ? -3 : energy < 1 << 20 ? 3 : 0;
    for (int n = -MaxLag; n < FrameSamples; n++) scaled[n] = Shl(speech[n], shift);
}

void Consider(LagCorrelation& best, int lag, std::int32_t correlation) {
    if (correlation > best.correlation) best = {lag, correlation, 0};
}

}  // namespace

void Autocorrelate(const std::int16_t* speech, std::int32_t* sums) {
    std::int16_t w[Window];
    for (int n = 0; n < Window; n++) w[n] = MultR(speech[n], AnalysisWindow[n]);
    for (bool clipped = true; clipped;) {
        clipped = false;
        sums[0] = 1;
        for (const std::int16_t x : w) sums[0] = LMac(sums[0], x, x, clipped);
        for (std::int16_t& x : w) x = clipped ? static_cast<std::int16_t>(x >> 2) : x;
    }
    for (int k = 1; k <= Order; k++) {
        sums[k] = 0;
        for (int n = 0; n + k < Window; n++) sums[k] = LMac(sums[k], w[n], w[n + k]);
    }
}

void CorrelateLags(const std::int16_t* speech, LagCorrelation* sections) {
    std::int16_t buffer[MaxLag + FrameSamples];
    std::int16_t* w = buffer + MaxLag;
    Scale(speech, w);
    constexpr int Bounds[LagSections + 1] = {MinLag, 40, 80, MaxLag};
    for (int i = 0; i < LagSections; i++) {
        LagCorrelation& best = sections[i];
        best = {Bounds[i], Min32, 0};
        const bool isLast = i == LagSections - 1;
        for (int lag = Bounds[i]; lag < Bounds[i + 1]; lag += isLast ? 2 : 1)
            Consider(best, lag, SumAt(w, lag, 0));
        if (isLast) {
            const int coarse = best.lag;
            for (const int lag : {coarse + 1, coarse - 1}) Consider(best, lag, SumAt(w, lag, 0));
        }
        best.energy = EnergyAt(w, best.lag);
    }
}

std::int32_t Product(const std::int16_t* x, const std::int16_t* y, std::int32_t start, bool& clipped) {
    std::int32_t sum = start;
    for (int n = 0; n < SubframeSamples; n++) sum = LMac(sum, x[n], y[n], clipped);
    return sum;
}

void FilterBackward(const std::int16_t* response, const std::int16_t* x, std::int16_t* result) {
    constexpr int Digits = 18;
    std::int32_t sums[SubframeSamples];
    std::int32_t largest = 0;
    for (int i = 0; i < SubframeSamples; i++) {
        sums[i] = 0;
        for (int j = i; j < SubframeSamples; j++) sums[i] = LMac(sums[i], x[j], response[j - i]);
        largest = std::max(largest, LAbs(sums[i]));
    }
    const int shift = Digits - std::min(NormL(largest), 16);
    for (int i = 0; i < SubframeSamples; i++) result[i] = Lo(sums[i] >> shift);
}

int BestLag(const std::int16_t* wanted, const std::int16_t* excitation, int min, int max) {
    LagCorrelation best = {min, Min32, 0};
    bool clipped = false;
    for (int lag = min; lag <= max; lag++) Consider(best, lag, Product(wanted, excitation - lag, 0, clipped));
    return best.lag;
}

}  // namespace g729::reference
