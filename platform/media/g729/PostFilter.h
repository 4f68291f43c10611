// What makes decoded speech sound better: long-term and short-term post-filter with tilt compensation and
// adaptive gain control. A frame goes through it in steps, between which its caller runs recursions that can
// share a kernel.
#pragma once

#include <cstdint>

#include "platform/media/g729/DecoderKernels.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

class PostFilter {
 public:
    explicit PostFilter(const DecoderKernels& kernels) : kernels(kernels) {}

    // A frame begins, whose synthesis filters are `a`.
    void Begin(const std::int16_t (&a)[Subframes][Coefficients]);

    // What the filters of the frame have to respond with before the subframes can be prepared.
    const PostFilterShape (&Shapes() const)[Subframes] { return shapes; }

    // Up to the input of the short-term recursion: `speech[-10..39]`, whose lag had the whole part `lag`.
    void Prepare(int subframe, int lag, const std::int16_t* speech, const ResponseEnergy& response);

    // The short-term recursion, which the caller runs.
    Synthesis Recursion(int subframe);

    // Where the gain has to go for what came out of it to be as loud as the speech that went in. The caller
    // runs the ramp.
    GainRamp& Aim(int subframe, const std::int16_t* speech);

    // What came out with those gains, to y[0..39].
    void Amplify(int subframe, std::int16_t* y);

 private:
    void AddLongTerm(int lag, const std::int16_t* x, std::int16_t* y) const;

    static constexpr int ResidualHistory = MaxLag;

    const DecoderKernels& kernels;
    PostFilterShape shapes[Subframes] = {};
    std::int16_t residual[ResidualHistory + FrameSamples] = {};
    std::int16_t lastBeforeTilt = 0;
    std::int16_t compensated[FrameSamples] = {};
    std::int16_t filtered[Order + FrameSamples] = {};
    GainRamp ramp;
    bool isSilent = false;  // what came out of the recursion last
};

}  // namespace g729
