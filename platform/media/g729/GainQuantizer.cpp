#include "platform/media/g729/GainQuantizer.h"

#include <algorithm>

#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

constexpr std::int16_t TamedBest = 481;  // Q9, 0.94
constexpr int Terms = GainErrorTerms;

// A number in 32 bits and its Q format.
struct Wide {
    std::int32_t value;
    int q;
};

// The terms of the error as a function of the gains: pitch^2, pitch, code^2, code, code * pitch.
struct ErrorTerms {
    Scaled term[Terms];
};

struct UnquantizedGains {
    std::int16_t pitch;  // Q9
    std::int16_t code;   // Q2
};

// 1 + the sum of products, of signals of which one has been divided by 8.
Scaled Product(const EncoderKernels& kernels, const std::int16_t* x, const std::int16_t* z, int q) {
    bool clipped = false;
    const std::int32_t sum = kernels.product(x, z, 1, clipped);
    const int norm = NormL(sum);
    return {Round(LShl(sum, norm)), norm + q};
}

ErrorTerms TermsOf(const EncoderKernels& kernels, const GainSignals& signals, const PitchGain& pitch) {
    std::int16_t z[SubframeSamples];  // Q9
    for (int n = 0; n < SubframeSamples; n++) z[n] = static_cast<std::int16_t>(signals.filteredCode[n] >> 3);
    ErrorTerms terms;
    terms.term[0] = {pitch.energy.mantissa, -pitch.energy.q};
    terms.term[1] = {Negate(pitch.product.mantissa), -(pitch.product.q + 1)};
    terms.term[2] = Product(kernels, z, z, 3);
    terms.term[3] = Product(kernels, signals.target, z, -7);
    terms.term[3].mantissa = Negate(terms.term[3].mantissa);
    terms.term[4] = Product(kernels, signals.filteredAdaptive, z, -7);
    return terms;
}

// The product of two terms, `q` more than the sum of their formats.
Wide Times(const Scaled& a, const Scaled& b, int q) {
    return {LMult(a.mantissa, b.mantissa), a.q + b.q + q};
}

// a - b, divided by 2^spare so that it cannot clip, normalised to 16 bits.
Scaled Difference(Wide a, Wide b, int spare) {
    const int q = std::min(a.q, b.q);
    const std::int32_t value = LSub(LShr(a.value, a.q - q + spare), LShr(b.value, b.q - q + spare));
    const int norm = NormL(value);
    return {Hi(LShl(value, norm)), q - spare + norm - 16};
}

// Where the error is least, regardless of what the codebooks have.
UnquantizedGains BestGains(const ErrorTerms& terms, bool tamed) {
    const Scaled* c = terms.term;
    const Scaled denominator = Difference(Times(c[0], c[2], -1), Times(c[4], c[4], 1), 0);
    const std::int16_t inverse = Negate(DivS(16384, denominator.mantissa));
    const int q = 29 - denominator.q;
    const Scaled pitch = Difference(Times(c[2], c[1], 0), Times(c[3], c[4], 1), 1);
    const Scaled code = Difference(Times(c[0], c[3], 0), Times(c[1], c[4], 1), 1);
    UnquantizedGains best = {Hi(LShr(LMult(pitch.mantissa, inverse), pitch.q + q - 24)),
                             Hi(LShr(LMult(code.mantissa, inverse), code.q + q - 17))};
    if (tamed) best.pitch = std::min(best.pitch, TamedBest);
    return best;
}

std::int16_t InQ4(const PredictedGain& gain) {
    if (gain.exponent >= 4) return Shr(gain.mantissa, gain.exponent - 4);
    return Hi(LShl(gain.mantissa, 20 - gain.exponent));
}

// How many of the thresholds `value` has passed.
int Passed(std::int32_t value, const std::int16_t* thresholds, int count, std::int16_t gain, int shift) {
    int passed = 0;
    while (passed < count) {
        const std::int32_t threshold = LMult(thresholds[passed], gain) >> shift;
        if (gain > 0 ? value <= threshold : value >= threshold) break;
        passed++;
    }
    return passed;
}

// The first of the 4 and the first of the 8 entries of each codebook that are tried.
void Preselect(UnquantizedGains best, std::int16_t predicted, GainSearch& search) {
    constexpr std::int16_t Scale = -17103;  // Q19
    const std::int32_t line = LMult(GainLine[0][0], best.pitch);
    const std::int16_t slope = Hi(LAdd(line, GainLine32[1][1] >> 15));
    const std::int16_t x = Hi(LShl(LSub(LShl(best.code, 7), LMult(slope, predicted)), 2));
    const std::int16_t h = Mult(Hi(LSub(line, GainLine32[0][1] >> 10)), predicted);
    const std::int16_t y = Hi(LShl(LSub(LMult(h, GainLine[1][0]), LMult(GainLine[0][0], best.code) >> 3), 2));
    search.first1 = Passed(LMult(y, Scale), GainThreshold1, 4, predicted, 3);
    search.first2 = Passed(LMult(x, Scale), GainThreshold2, 8, predicted, 5);
}

// All terms in one format.
void Align(const ErrorTerms& terms, int predictedQ, GainSearch& search) {
    const int added[Terms] = {13, 14, 2 * predictedQ - 21, predictedQ - 3, predictedQ - 4};
    int q[Terms];
    for (int k = 0; k < Terms; k++) q[k] = terms.term[k].q + added[k];
    const int least = *std::min_element(q, q + Terms);
    for (int k = 0; k < Terms; k++) {
        search.terms[k] = Extract(LShr(terms.term[k].mantissa * 0x10000, q[k] - least));
    }
}

}  // namespace

Gains QuantizeGains(const EncoderKernels& kernels, const GainSignals& signals, const PitchGain& pitch,
                    bool tamed, GainMemory& memory) {
    const ErrorTerms terms = TermsOf(kernels, signals, pitch);
    const PredictedGain predicted = memory.Predict(signals.code);
    GainSearch search = {};
    search.predicted = predicted.mantissa;
    search.tamed = tamed;
    Preselect(BestGains(terms, tamed), InQ4(predicted), search);
    Align(terms, predicted.exponent, search);
    const GainChoice choice = kernels.searchGains(search);

    const std::int16_t* one = GainCodebook1[choice.entry1];
    const std::int16_t* two = GainCodebook2[choice.entry2];
    const std::int32_t correction = one[1] + two[1];
    const std::int32_t code = LMult(static_cast<std::int16_t>(correction >> 1), predicted.mantissa);
    memory.Push(correction);
    return {GainIndexToSend1[choice.entry1], GainIndexToSend2[choice.entry2], Add(one[0], two[0]),
            Hi(LShl(code, 4 - predicted.exponent))};
}

}  // namespace g729
