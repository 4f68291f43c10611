// The ways from line spectra to filters and back into the predictor, which leave out clipping where they may,
// against every step clipped; on spectra that speech never has too.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/Lsp.h"
#include "platform/media/g729/LspMemory.h"
#include "platform/media/g729/Tables.h"
#include "tests/g729/Signals.h"
#include "tests/g729/Vectors.h"

namespace g729::test {
namespace {

constexpr int Half = Order / 2;

using Values = std::array<std::int16_t, Order>;
using Filter = std::array<std::int16_t, Coefficients>;

std::array<std::int32_t, Half + 1> ClippedPolynomial(const std::int16_t* lsp) {
    std::array<std::int32_t, Half + 1> f{LMult(4096, 2048), LMsu(0, lsp[0], 512)};
    for (std::size_t i = 2; i <= Half; i++) {
        const std::int16_t q = lsp[2 * i - 2];
        f[i] = f[i - 2];
        for (std::size_t j = i; j >= 2; j--) {
            f[j] = LSub(LAdd(f[j], f[j - 2]), LShl(Multiply(Extract(f[j - 1]), q), 1));
        }
        f[1] = LMsu(f[1], q, 512);
    }
    return f;
}

Filter ClippedCoefficients(const Values& lsp) {
    const auto f1 = ClippedPolynomial(lsp.data());
    const auto f2 = ClippedPolynomial(lsp.data() + 1);
    Filter a{4096};
    for (std::size_t i = 1; i <= Half; i++) {
        const std::int32_t sum = LAdd(f1[i], f1[i - 1]);
        const std::int32_t difference = LSub(f2[i], f2[i - 1]);
        a[i] = Lo(LShrR(LAdd(sum, difference), 13));
        a[Coefficients - i] = Lo(LShrR(LSub(sum, difference), 13));
    }
    return a;
}

TEST(TestLsp, CoefficientsClipWhereTheyMust) {
    Signals signals(10);
    for (int i = 0; i < 50000; i++) {
        const int spread = 65535 >> signals.Between(0, 9);
        const int top = signals.Between(Min16 + spread, Max16);
        Values lsp;
        for (std::int16_t& value : lsp) value = static_cast<std::int16_t>(signals.Between(top - spread, top));
        if (i % 4) std::sort(lsp.begin(), lsp.end(), std::greater<>());
        Filter a;
        LspToCoefficients(lsp.data(), a.data());
        ASSERT_EQ(a, ClippedCoefficients(lsp)) << i << ": " << Shown(lsp);
    }
}

// Pushes four frames, some of them beyond what codebooks hold, and predicts a fifth.
TEST(TestLsp, PredictionClipsWhereItMust) {
    Signals signals(11);
    for (int i = 0; i < 20000; i++) {
        const LspIndices indices{static_cast<std::uint8_t>(signals.Between(0, 1)),
                                 static_cast<std::uint8_t>(signals.Between(0, 127)),
                                 static_cast<std::uint8_t>(signals.Between(0, 31)),
                                 static_cast<std::uint8_t>(signals.Between(0, 31))};
        LspMemory memory;
        Values past[LspTaps];
        const int low = signals.Between(0, 3) ? 0 : Min16;
        const int high = signals.Between(0, 1) ? Max16 : 26000;
        for (Values& frame : past) {
            for (std::int16_t& value : frame) value = static_cast<std::int16_t>(signals.Between(low, high));
            if (high == Max16) std::sort(frame.begin(), frame.end());
        }
        for (int k = LspTaps - 1; k >= 0; k--) memory.Push(past[k].data());
        Values lsf;
        memory.Reconstruct(indices, lsf.data());

        std::int16_t added[Order];
        for (int j = 0; j < Order; j++) {
            const auto& second = LspCodebook2[j < Half ? indices.low : indices.high];
            added[j] = Add(LspCodebook1[indices.first][j], second[j]);
        }
        Spread(added, 10, 1, Order - 1);
        Spread(added, 5, 1, Order - 1);
        Values expected;
        for (std::size_t j = 0; j < Order; j++) {
            std::int32_t sum = LMult(added[j], LspPredictorRest[indices.mode][j]);
            for (int k = 0; k < LspTaps; k++) sum = LMac(sum, past[k][j], LspPredictor[indices.mode][k][j]);
            expected[j] = Hi(sum);
        }
        for (std::size_t j = 0; j + 1 < Order; j++) {
            if (expected[j + 1] < expected[j]) std::swap(expected[j], expected[j + 1]);
        }
        expected[0] = std::max<std::int16_t>(expected[0], 40);
        for (std::size_t j = 0; j + 1 < Order; j++) {
            if (LSub(expected[j + 1], expected[j]) < 321) expected[j + 1] = Add(expected[j], 321);
        }
        expected[9] = std::min<std::int16_t>(expected[9], 25681);
        ASSERT_EQ(lsf, expected) << i << ": " << Shown(lsf) << '\n' << Shown(expected);
    }
}

}  // namespace
}  // namespace g729::test
