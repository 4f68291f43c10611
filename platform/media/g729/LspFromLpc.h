// Line spectral pairs of a prediction filter: the roots of its sum and difference polynomials.
#pragma once

#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

// The pairs of A(z) as cosines in Q15, descending. When fewer than ten roots are found `lsp` stays as it was:
// that of the last frame.
void LspFromLpc(const EncoderKernels& kernels, const std::int16_t a[Coefficients], std::int16_t lsp[Order]);

}  // namespace g729
