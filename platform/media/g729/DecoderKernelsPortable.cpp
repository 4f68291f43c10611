// The portable level of the decoder.
#include "platform/media/g729/AdaptiveCodebook.h"
#include "platform/media/g729/DecoderKernels.h"
#include "platform/media/g729/Lsp.h"
#include "platform/media/g729/PlainFilters.h"
#include "platform/media/g729/PostFilterKernels.h"

namespace g729 {

namespace {

bool SynthesizeAndRespond(const Synthesis& speech, const PostFilterShape (&shapes)[Subframes],
                          ResponseEnergy (&energies)[Subframes]) {
    for (int i = 0; i < Subframes; i++) energies[i] = Respond(shapes[i]);
    return plain::Synthesize(speech.a, speech.x, speech.y);
}

bool SynthesizePair(const Synthesis& first, const Synthesis& second) {
    plain::Synthesize(second.a, second.x, second.y);
    return plain::Synthesize(first.a, first.x, first.y);
}

void SynthesizeAndRamp(const Synthesis& synthesis, GainRamp& ramp) {
    plain::Synthesize(synthesis.a, synthesis.x, synthesis.y);
    FollowRamp(ramp);
}

void HighPassAndRamp(HighPassMemory& memory, const std::int16_t* x, std::int16_t* y, GainRamp& ramp) {
    HighPass(memory, x, y);
    FollowRamp(ramp);
}

}  // namespace

const DecoderKernels PortableDecoderKernels = {
    .residual = plain::Residual,
    .synthesize = plain::Synthesize,
    .interpolateLag = plain::InterpolateLag,
    .mixExcitation = MixExcitation,
    .subframeCoefficients = SubframeCoefficients,
    .matchPeriod = MatchPeriod,
    .addPeriod = AddPeriod,
    .compensateTilt = CompensateTilt,
    .energy = Energy,
    .amplify = Amplify,
    .highPass = HighPass,
    .synthesizeAndRespond = SynthesizeAndRespond,
    .synthesizePair = SynthesizePair,
    .synthesizeAndRamp = SynthesizeAndRamp,
    .highPassAndRamp = HighPassAndRamp,
};

const DecoderKernels& DecoderKernelsFor(Level level) {
#if G729_X86_KERNELS
    if (level == Level::Avx2) return Avx2DecoderKernels;
    if (level == Level::Avx512) return Avx512DecoderKernels;
#endif
    static_cast<void>(level);
    return PortableDecoderKernels;
}

}  // namespace g729
