// Inner loops of the coder, beside those that it shares with the decoder (DecoderKernels.h, whose rules hold
// here too): a table of functions for every level.
#pragma once

#include <cstdint>

#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Level.h"
#include "platform/media/g729/LspMemory.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

// Sum and difference polynomial of A(z) without their roots at 1 and -1, in Q11, or in Q10 when `coarse`.
struct RootPolynomials {
    static constexpr int Degree = Order / 2;
    std::int16_t sum[Degree + 1];
    std::int16_t difference[Degree + 1];
    bool coarse;
};

// The lag of a section of lags with the largest correlation, that correlation, and 1 + the energy at the lag.
struct LagCorrelation {
    int lag;
    std::int32_t correlation;
    std::int32_t energy;
};

constexpr int LagSections = 3;  // 20..39, 40..79, 80..143

constexpr int GainErrorTerms = 5;

// A search in the 4 and 8 entries of the gain codebooks from `first1` and `first2` on.
struct GainSearch {
    Dpf terms[GainErrorTerms];  // factors of pitch^2, pitch, code^2, code, code * pitch
    int first1;                 // 0..4
    int first2;                 // 0..8
    std::int16_t predicted;     // gain that the corrections of the codebooks multiply
    bool tamed;                 // leaves out pitch gains of one and more
};

struct GainChoice {
    int entry1;
    int entry2;
};

// The filters 1/A(z) with which a frame begins, 40 samples each. Two have the same input `x` and a memory in
// front of their outputs, y[-10..-1]; two give their responses to an impulse.
struct FirstFilters {
    struct Filter {
        const std::int16_t* a;  // 11 in Q12, of which the first is 4096
        std::int16_t* y;
    };
    const std::int16_t* x;
    Filter driven[2];
    Filter responses[2];
};

struct EncoderKernels {
    void (*runFirstFilters)(const FirstFilters& filters);

    // Autocorrelation of 240 windowed samples at lags 0 to 10, plus one at lag 0. The windowed samples are
    // quartered until the sum of lag 0 fits.
    void (*autocorrelate)(const std::int16_t* speech, std::int32_t* sums);

    // The roots of the two polynomials in turn, descending, at most ten; returns their number. All ten places
    // may be written.
    int (*findRoots)(const RootPolynomials& polynomials, std::int16_t* found);

    // The entry of the first LSP codebook that is nearest to the ten of `target`, and those of the second,
    // for either half, that are nearest to the rest by `weights`, which are not negative. The mode is left as
    // it is.
    void (*searchLsp)(const std::int16_t* target, const std::int16_t* weights, LspIndices& found);

    // Each section's best lag in 80 samples of weighted speech; reads speech[-143..79].
    void (*correlateLags)(const std::int16_t* speech, LagCorrelation* sections);

    // start + twice the sum of 40 products, clipped after each; sets `clipped` when it was.
    std::int32_t (*product)(const std::int16_t* x, const std::int16_t* y, std::int32_t start, bool& clipped);

    // Correlation of 40 samples of `x` with 40 of `response`, shifted so that the largest of the results has
    // 13 bits.
    void (*filterBackward)(const std::int16_t* response, const std::int16_t* x, std::int16_t* result);

    // The lag of `min`..`max`, at most ten, at which the past of excitation[0..39] correlates best with
    // `wanted`.
    int (*bestLag)(const std::int16_t* wanted, const std::int16_t* excitation, int min, int max);

    // The positions of pulses in tracks 0, 1, 2 and 3 or 4 that give most of `wanted`, which has 13 bits and
    // a sign, through the impulse response.
    void (*searchPulses)(const std::int16_t* response, const std::int16_t* wanted, int* positions);

    // rest = target - gain * x, the gain in Q14 and not negative; every product and difference clipped.
    void (*removeScaled)(const std::int16_t* target, const std::int16_t* x, std::int16_t gain,
                         std::int16_t* rest);

    // The sum of the impulse responses to four pulses, clipped after each; bit k of `signs` is set where
    // pulse k is positive.
    void (*respondToPulses)(const std::int16_t* response, const int* positions, unsigned signs,
                            std::int16_t* sum);

    // The entries of both gain codebooks with the least error.
    GainChoice (*searchGains)(const GainSearch& search);
};

// Of a level that the processor has (HasLevel).
const EncoderKernels& EncoderKernelsFor(Level level);

extern const EncoderKernels PortableEncoderKernels;
extern const EncoderKernels Avx2EncoderKernels;
extern const EncoderKernels Avx512EncoderKernels;

}  // namespace g729
