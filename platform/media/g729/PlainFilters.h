// Filters for any processor without clipping wherever it is certain that nothing clips. DecoderKernels.h has
// their contracts.
#pragma once

#include <cstdint>

namespace g729::plain {

void Residual(const std::int16_t* a, const std::int16_t* x, std::int16_t* y);

bool Synthesize(const std::int16_t* a, const std::int16_t* x, std::int16_t* y);

void InterpolateLag(std::int16_t* excitation, int lag, int fraction);

}  // namespace g729::plain
