// The coder's kernels for any processor: plain sums, of which the compiler makes what vectors the processor
// surely has, wherever they are certain not to clip. EncoderKernels.h has their contracts.
#pragma once

#include "platform/media/g729/EncoderKernels.h"

namespace g729::plain {

void Autocorrelate(const std::int16_t* speech, std::int32_t* sums);
void SearchLsp(const std::int16_t* target, const std::int16_t* weights, LspIndices& found);
void CorrelateLags(const std::int16_t* speech, LagCorrelation* sections);
std::int32_t Product(const std::int16_t* x, const std::int16_t* y, std::int32_t start, bool& clipped);
void FilterBackward(const std::int16_t* response, const std::int16_t* x, std::int16_t* result);
int BestLag(const std::int16_t* wanted, const std::int16_t* excitation, int min, int max);
void SearchPulses(const std::int16_t* response, const std::int16_t* wanted, int* positions);

}  // namespace g729::plain
