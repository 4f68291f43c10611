// Sums of products: autocorrelation, open loop, closed loop.
#include <algorithm>

#include "platform/media/g729/PlainKernels.h"
#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/SumBounds.h"
#include "platform/media/g729/Tables.h"

namespace g729::plain {

namespace {

constexpr int Half = SubframeSamples;  // every second sample of a frame, too

std::int64_t Energy(const std::int16_t* x, int count) {
    std::int64_t sum = 0;
    for (int n = 0; n < count; n++) sum += x[n] * x[n];
    return sum;
}

std::int32_t Sum(const std::int16_t* x, const std::int16_t* y) {
    std::int32_t sum = 0;
    for (int n = 0; n < Half; n++) sum += x[n] * y[n];
    return 2 * sum;
}

void Consider(LagCorrelation& best, int lag, std::int32_t correlation) {
    if (correlation > best.correlation) best = {lag, correlation, 0};
}

// The signal of the open loop, samples -143..79, taken apart and scaled as the sums need it.
class SplitSignal {
 public:
    explicit SplitSignal(const std::int16_t* speech) {
        for (int i = 0; i < Odd; i++) odd[i] = speech[2 * i - MaxLag];
        for (int i = 0; i < Even; i++) even[i] = speech[2 * i + 1 - MaxLag];
        const std::int64_t energy = Energy(odd, Odd);
        Shift(!SumsFit(energy) ? -3 : 2 * energy < 1 << 20 ? 3 : 0);
    }

    bool Fits() const { return SumsFit(Energy(even, Even)) && SumsFit(Energy(odd, Odd)); }

    // Every second sample, `lag` before those of the frame.
    const std::int16_t* At(int lag) const { return (lag % 2 == 0 ? even : odd) + Current - lag / 2; }

    std::int32_t Correlation(int lag) const { return Sum(At(0), At(lag)); }

 private:
    static constexpr int Odd = 112;
    static constexpr int Even = 111;
    static constexpr int Current = 71;

    void Shift(int shift) {
        if (shift == 0) return;
        for (std::int16_t& x : odd) x = Shl(x, shift);
        for (std::int16_t& x : even) x = Shl(x, shift);
    }

    std::int16_t odd[Odd];
    std::int16_t even[Even];
};

}  // namespace

void Autocorrelate(const std::int16_t* speech, std::int32_t* sums) {
    constexpr int Window = 240;
    std::int16_t w[Window + Order] = {};
    for (int n = 0; n < Window; n++) w[n] = MultR(speech[n], AnalysisWindow[n]);
    while (!SumsFit(Energy(w, Window))) {
        for (std::int16_t& x : w) x = static_cast<std::int16_t>(x >> 2);
    }
    // No part of the other sums is larger than that of lag 0.
    for (int k = 0; k <= Order; k++) {
        std::int32_t sum = 0;
        for (int n = 0; n < Window; n++) sum += w[n] * w[n + k];
        sums[k] = 2 * sum;
    }
    sums[0]++;
}

void CorrelateLags(const std::int16_t* speech, LagCorrelation* sections) {
    const SplitSignal signal(speech);
    if (!signal.Fits()) {
        reference::CorrelateLags(speech, sections);
        return;
    }
    for (int i = 0; i < LagSections; i++) sections[i] = {0, Min32, 0};
    for (int lag = MinLag; lag < 40; lag++) Consider(sections[0], lag, signal.Correlation(lag));
    for (int lag = 40; lag < 80; lag++) Consider(sections[1], lag, signal.Correlation(lag));
    for (int lag = 80; lag < MaxLag; lag += 2) Consider(sections[2], lag, signal.Correlation(lag));
    const int coarse = sections[2].lag;
    for (const int lag : {coarse + 1, coarse - 1}) Consider(sections[2], lag, signal.Correlation(lag));
    for (int i = 0; i < LagSections; i++) {
        const std::int16_t* past = signal.At(sections[i].lag);
        sections[i].energy = 1 + Sum(past, past);
    }
}

std::int32_t Product(const std::int16_t* x, const std::int16_t* y, std::int32_t start, bool& clipped) {
    if (!SumsFit(Energy(x, SubframeSamples), Energy(y, SubframeSamples))) {
        return reference::Product(x, y, start, clipped);
    }
    return start + Sum(x, y);
}

void FilterBackward(const std::int16_t* response, const std::int16_t* x, std::int16_t* result) {
    if (!SumsFit(Energy(response, SubframeSamples), Energy(x, SubframeSamples))) {
        reference::FilterBackward(response, x, result);
        return;
    }
    constexpr int Digits = 18;
    std::int16_t padded[2 * SubframeSamples] = {};
    std::copy_n(x, SubframeSamples, padded);
    std::int32_t sums[SubframeSamples];
    std::int32_t largest = 0;
    for (int i = 0; i < SubframeSamples; i++) {
        sums[i] = Sum(response, padded + i);
        largest = std::max(largest, LAbs(sums[i]));
    }
    const int shift = Digits - std::min(NormL(largest), 16);
    for (int i = 0; i < SubframeSamples; i++) result[i] = Lo(sums[i] >> shift);
}

int BestLag(const std::int16_t* wanted, const std::int16_t* excitation, int min, int max) {
    if (!SumsFit(Energy(wanted, SubframeSamples), Energy(excitation - max, max - min + SubframeSamples))) {
        return reference::BestLag(wanted, excitation, min, max);
    }
    LagCorrelation best = {min, Min32, 0};
    for (int lag = min; lag <= max; lag++) Consider(best, lag, Sum(wanted, excitation - lag));
    return best.lag;
}

}  // namespace g729::plain
