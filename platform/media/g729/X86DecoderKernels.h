// The decoder's kernels for x86 processors: one text, which the files of both levels compile for theirs.
#pragma once

#include "platform/media/g729/DecoderKernels.h"
#include "platform/media/g729/X86AdaptiveCodebook.h"
#include "platform/media/g729/X86Filters.h"
#include "platform/media/g729/X86Lsp.h"
#include "platform/media/g729/X86PostFilter.h"
#include "platform/media/g729/X86Recursions.h"

namespace g729 {

namespace {

constexpr DecoderKernels X86DecoderKernels = {
    .residual = x86::Residual,
    .synthesize = x86::Synthesize,
    .interpolateLag = x86::InterpolateLag,
    .mixExcitation = x86::MixExcitation,
    .subframeCoefficients = x86::SubframeCoefficients,
    .matchPeriod = x86::MatchPeriod,
    .addPeriod = x86::AddPeriod,
    .compensateTilt = x86::CompensateTilt,
    .energy = x86::Energy,
    .amplify = x86::Amplify,
    .highPass = x86::HighPass,
    .synthesizeAndRespond = x86::SynthesizeAndRespond,
    .synthesizePair = x86::SynthesizePair,
    .synthesizeAndRamp = x86::SynthesizeAndRamp,
    .highPassAndRamp = x86::HighPassAndRamp,
};

}  // namespace

}  // namespace g729
