#include "platform/media/g729/LspFromLpc.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"

namespace g729 {

namespace {

constexpr std::int16_t FineHalf = 16384;
constexpr std::int16_t CoarseHalf = FineHalf / 2;

// Sum and difference polynomial with their known roots divided out. False when a coefficient clipped.
bool Split(const std::int16_t* a, std::int16_t half, RootPolynomials& p) {
    bool clipped = false;
    p.sum[0] = p.difference[0] = static_cast<std::int16_t>(half >> 3);
    for (int i = 0; i < RootPolynomials::Degree; i++) {
        const std::int32_t low = LMult(a[i + 1], half);
        p.sum[i + 1] = Sub(Hi(LMac(low, a[Order - i], half)), p.sum[i], clipped);
        p.difference[i + 1] = Add(Hi(LMsu(low, a[Order - i], half)), p.difference[i], clipped);
    }
    return !clipped;
}

}  // namespace

void LspFromLpc(const EncoderKernels& kernels, const std::int16_t a[Coefficients], std::int16_t lsp[Order]) {
    RootPolynomials polynomials;
    polynomials.coarse = !Split(a, FineHalf, polynomials);
    if (polynomials.coarse) Split(a, CoarseHalf, polynomials);
    std::int16_t roots[Order];
    if (kernels.findRoots(polynomials, roots) == Order) std::copy_n(roots, Order, lsp);
}

}  // namespace g729
