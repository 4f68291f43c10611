#include "platform/media/g729/Lsp.h"

#include <algorithm>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

constexpr int Half = Order / 2;
constexpr int LastEntry = 63;  // of the cosine tables

// Coefficients of the product of 1 - 2 q z + z^2 over every second pair, in Q24, with every step clipped.
void ClippedPolynomial(const std::int16_t* lsp, std::int32_t f[Half + 1]) {
    f[0] = 1 << 24;
    f[1] = LMsu(0, lsp[0], 512);
    for (int i = 2; i <= Half; i++) {
        const std::int16_t q = lsp[2 * (i - 1)];
        f[i] = f[i - 2];
        for (int j = i; j >= 2; j--) {
            f[j] = LSub(LAdd(f[j], f[j - 2]), LShl(Multiply(Extract(f[j - 1]), q), 1));
        }
        f[1] = LMsu(f[1], q, 512);
    }
}

// The same without clipping where nothing comes near to it, as with all but the strangest spectra.
void Polynomial(const std::int16_t* lsp, std::int32_t f[Half + 1]) {
    constexpr std::int64_t Safe = (1 << 30) - 2;  // two such numbers, and the double of one, fit 32 bits
    std::int64_t g[Half + 1] = {1 << 24, -1024 * lsp[0]};
    bool isSafe = true;
#pragma GCC unroll 5
    for (int i = 2; i <= Half; i++) {
        const std::int64_t q = lsp[2 * (i - 1)];
        g[i] = g[i - 2];
#pragma GCC unroll 5
        for (int j = i; j >= 2; j--) {
            g[j] += g[j - 2] - ((g[j - 1] >> 1) * q >> 15) * 4;
            isSafe &= static_cast<std::uint64_t>(g[j] + Safe) <= 2 * Safe;
        }
        g[1] -= 1024 * q;
        isSafe &= static_cast<std::uint64_t>(g[1] + Safe) <= 2 * Safe;
    }
    if (!isSafe) return ClippedPolynomial(lsp, f);
    std::copy_n(g, Half + 1, f);
}

}  // namespace

void LsfToLsp(const std::int16_t lsf[Order], std::int16_t lsp[Order]) {
    for (int i = 0; i < Order; i++) {
        const std::int16_t position = Mult(lsf[i], 20861);  // Q17 by 1 / (2 pi): table entries in Q8
        const int entry = std::clamp(position >> 8, 0, LastEntry);
        const std::int16_t offset = position & 0xFF;
        lsp[i] = Add(Cosine[entry], Lo(LMult(CosineSlope[entry], offset) >> 13));
    }
}

void LspToLsf(const std::int16_t lsp[Order], std::int16_t lsf[Order]) {
    int entry = LastEntry;
    for (int i = Order - 1; i >= 0; i--) {
        while (entry > 0 && Cosine[entry] < lsp[i]) entry--;
        const std::int16_t offset = Sub(lsp[i], Cosine[entry]);
        const std::int16_t part = Lo(LMult(ArcCosineSlope[entry], offset) >> 12);
        lsf[i] = Mult(Add(Shl(static_cast<std::int16_t>(entry), 9), part), 25736);  // Q12, 2 pi
    }
}

void LspToCoefficients(const std::int16_t lsp[Order], std::int16_t a[Coefficients]) {
    std::int32_t sum[Half + 1];
    std::int32_t difference[Half + 1];
    Polynomial(lsp, sum);
    Polynomial(lsp + 1, difference);
    for (int i = Half; i > 0; i--) {
        sum[i] = LAdd(sum[i], sum[i - 1]);
        difference[i] = LSub(difference[i], difference[i - 1]);
    }
    a[0] = 4096;
    for (int i = 1; i <= Half; i++) {
        a[i] = Lo(LShrR(LAdd(sum[i], difference[i]), 13));
        a[Order + 1 - i] = Lo(LShrR(LSub(sum[i], difference[i]), 13));
    }
}

void SubframeCoefficients(const std::int16_t* last, const std::int16_t* current,
                          std::int16_t (&a)[Subframes][Coefficients]) {
    std::int16_t middle[Order];
    for (int i = 0; i < Order; i++) middle[i] = Add(current[i] >> 1, last[i] >> 1);
    LspToCoefficients(middle, a[0]);
    LspToCoefficients(current, a[1]);
}

}  // namespace g729
