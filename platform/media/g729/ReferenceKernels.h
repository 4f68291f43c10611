// The coder's kernels in the arithmetic of the standard, step by step. The kernels of all levels resort to
// them where a sum might clip, and are tested against them. EncoderKernels.h has their contracts.
#pragma once

#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/PreProcess.h"

namespace g729::reference {

// Of PreProcess.h and Levinson.h.
void PreProcess(PreProcessMemory& memory, const std::int16_t* input, std::int16_t* output);
void Levinson(const Dpf r[Coefficients], std::int16_t a[Coefficients]);

void Autocorrelate(const std::int16_t* speech, std::int32_t* sums);
int FindRoots(const RootPolynomials& polynomials, std::int16_t* found);
void SearchLsp(const std::int16_t* target, const std::int16_t* weights, LspIndices& found);
void CorrelateLags(const std::int16_t* speech, LagCorrelation* sections);
std::int32_t Product(const std::int16_t* x, const std::int16_t* y, std::int32_t start, bool& clipped);
void FilterBackward(const std::int16_t* response, const std::int16_t* x, std::int16_t* result);
int BestLag(const std::int16_t* wanted, const std::int16_t* excitation, int min, int max);
void SearchPulses(const std::int16_t* response, const std::int16_t* wanted, int* positions);
void RemoveScaled(const std::int16_t* target, const std::int16_t* x, std::int16_t gain, std::int16_t* rest);
void RespondToPulses(const std::int16_t* response, const int* positions, unsigned signs, std::int16_t* sum);
GainChoice SearchGains(const GainSearch& search);

}  // namespace g729::reference
