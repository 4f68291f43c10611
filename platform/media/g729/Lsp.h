// Line spectrum of the prediction filter: as pairs (LSP, cosines in Q15) and as frequencies (LSF, 0..pi in
// Q13), 10 each, and the way from pairs to A(z) in Q12.
#pragma once

#include <cstdint>

#include "platform/media/g729/Sizes.h"

namespace g729 {

void LsfToLsp(const std::int16_t lsf[Order], std::int16_t lsp[Order]);

void LspToLsf(const std::int16_t lsp[Order], std::int16_t lsf[Order]);

void LspToCoefficients(const std::int16_t lsp[Order], std::int16_t a[Coefficients]);

// Portable kernel; DecoderKernels.h has its contract.
void SubframeCoefficients(const std::int16_t* last, const std::int16_t* current,
                          std::int16_t (&a)[Subframes][Coefficients]);

}  // namespace g729
