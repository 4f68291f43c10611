// Inner loops of the decoder and those that the coder shares with it. A table of functions for every level;
// kernels of one name give the same result to the last bit on any input, and what they read and write is
// given here for all of them. Thread-safe, no state; no pointer needs an alignment. 40 samples where nothing
// else is said.
#pragma once

#include <cstdint>

#include "platform/media/g729/Level.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

// Where the long-term post-filter found a period.
struct PeriodMatch {
    int lag;
    std::int32_t correlation;
    std::int32_t energy;     // of the samples at the lag
    std::int32_t ownEnergy;  // of the samples themselves
};

// Autocorrelation of an impulse response, upper halves.
struct ResponseEnergy {
    std::int16_t same;  // at distance 0
    std::int16_t next;  // at distance 1
};

// A(z) expanded for the numerator and the denominator of the short-term post-filter.
struct PostFilterShape {
    std::int16_t numerator[Coefficients + 1];  // the last is zero
    std::int16_t denominator[Coefficients];
};

// One run of `synthesize`.
struct Synthesis {
    const std::int16_t* a;
    const std::int16_t* x;
    std::int16_t* y;
};

// What came out of the output high-pass before the doubling, newest first.
struct HighPassMemory {
    std::int32_t y[2] = {};
};

// The gain of the post-filter from sample to sample, Q12 and never negative.
struct GainRamp {
    std::int16_t gain = 4096;  // before, and then behind the 40 samples
    std::int16_t step = 0;     // 0..3275: what comes to nine tenths of the last
    std::int16_t gains[SubframeSamples] = {};
};

// Recursions that do not wait for each other run in one kernel, so that a processor can advance them in
// lockstep.
struct DecoderKernels {
    // The prediction error through A(z), `a` of 11 in Q12. Reads x[-10..39]; y[0..39] may not overlap.
    void (*residual)(const std::int16_t* a, const std::int16_t* x, std::int16_t* y);

    // Through 1/A(z). y[-10..-1] is the memory of the filter; x and y may not overlap. Returns whether
    // anything clipped.
    bool (*synthesize)(const std::int16_t* a, const std::int16_t* x, std::int16_t* y);

    // The adaptive codebook vector at excitation[0..39] from what lies before it, for a lag of 19..144 and a
    // fraction of -1..1 thirds. With short lags it reads what it has written. Reads from excitation[-154].
    void (*interpolateLag)(std::int16_t* excitation, int lag, int fraction);

    // excitation = pitchGain (Q14) * excitation + codeGain (Q1) * code (Q13). Gains are not negative.
    void (*mixExcitation)(std::int16_t* excitation, const std::int16_t* code, std::int16_t pitchGain,
                          std::int16_t codeGain);

    // The filters of both subframes: half-way from the last frame's LSPs to this frame's, and this frame's.
    void (*subframeCoefficients)(const std::int16_t* last, const std::int16_t* current,
                                 std::int16_t (&a)[Subframes][Coefficients]);

    // The lag from `first` to `first` + 6 at which a quarter of x correlates best with itself, the first of
    // equals. Reads x[-(first + 6)..39].
    PeriodMatch (*matchPeriod)(const std::int16_t* x, int first);

    // y = gain * x + pastGain * x[n - lag], gains in Q15 and not negative.
    void (*addPeriod)(const std::int16_t* x, int lag, std::int16_t gain, std::int16_t pastGain,
                      std::int16_t* y);

    // y = x - tilt (Q15, not negative) * x[n - 1]. Reads x[-1..39].
    void (*compensateTilt)(const std::int16_t* x, std::int16_t tilt, std::int16_t* y);

    // Of a quarter of x.
    std::int32_t (*energy)(const std::int16_t* x);

    // y = gains (Q12) * x.
    void (*amplify)(const std::int16_t* x, const std::int16_t* gains, std::int16_t* y);

    // The high-pass, doubled. Reads x[-2..39].
    void (*highPass)(HighPassMemory& memory, const std::int16_t* x, std::int16_t* y);

    // `synthesize`, returning the same, and of 22 samples of the response of two post-filters the energies.
    bool (*synthesizeAndRespond)(const Synthesis& speech, const PostFilterShape (&shapes)[Subframes],
                                 ResponseEnergy (&energies)[Subframes]);

    // `synthesize` twice; returns whether anything clipped in the first.
    bool (*synthesizePair)(const Synthesis& first, const Synthesis& second);

    // `synthesize`, and the gain follows its ramp.
    void (*synthesizeAndRamp)(const Synthesis& synthesis, GainRamp& ramp);

    // `highPass`, and the gain follows its ramp.
    void (*highPassAndRamp)(HighPassMemory& memory, const std::int16_t* x, std::int16_t* y, GainRamp& ramp);
};

// Of a level that the processor has (HasLevel).
const DecoderKernels& DecoderKernelsFor(Level level);

extern const DecoderKernels PortableDecoderKernels;
extern const DecoderKernels Avx2DecoderKernels;
extern const DecoderKernels Avx512DecoderKernels;

}  // namespace g729
