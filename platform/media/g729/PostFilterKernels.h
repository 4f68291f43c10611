// Portable kernels of the post-filter and of the output; DecoderKernels.h has their contracts.
#pragma once

#include <cstdint>

#include "platform/media/g729/DecoderKernels.h"

namespace g729 {

PeriodMatch MatchPeriod(const std::int16_t* x, int first);

void AddPeriod(const std::int16_t* x, int lag, std::int16_t gain, std::int16_t pastGain, std::int16_t* y);

void CompensateTilt(const std::int16_t* x, std::int16_t tilt, std::int16_t* y);

std::int32_t Energy(const std::int16_t* x);

void FollowRamp(GainRamp& ramp);

void Amplify(const std::int16_t* x, const std::int16_t* gains, std::int16_t* y);

void HighPass(HighPassMemory& memory, const std::int16_t* x, std::int16_t* y);

ResponseEnergy Respond(const PostFilterShape& shape);

}  // namespace g729
