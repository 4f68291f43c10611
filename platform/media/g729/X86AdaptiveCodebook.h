// Vector forms of the adaptive codebook.
#pragma once

#include "platform/media/g729/AdaptiveCodebook.h"
#include "platform/media/g729/Sizes.h"
#include "platform/media/g729/Tables.h"
#include "platform/media/g729/X86Vectors.h"

namespace g729::x86 {

namespace {

constexpr int Thirds = 3;
constexpr int LagPairs = LagTaps;

// The interpolation filters of the three phases, in the order of the samples that they meet, two to an entry.
struct LagFilters {
    std::int32_t pairs[Thirds][LagPairs]{};
    int reach = 0;  // the largest sum of magnitudes

    constexpr LagFilters() {
        for (int phase = 0; phase < Thirds; phase++) {
            std::int16_t taps[2 * LagTaps] = {};
            int magnitudes = 0;
            for (int i = 0; i < LagTaps; i++) {
                taps[LagTaps - 1 - i] = LagInterpolation[phase + Thirds * i];
                taps[LagTaps + i] = LagInterpolation[Thirds - phase + Thirds * i];
            }
            for (int i = 0; i < LagPairs; i++) {
                pairs[phase][i] = static_cast<std::uint16_t>(taps[2 * i]) | taps[2 * i + 1] * 0x10000;
            }
            for (const std::int16_t tap : taps) magnitudes += tap < 0 ? -tap : tap;
            reach = magnitudes > reach ? magnitudes : reach;
        }
    }
};

// 8 or 16 samples whose filters begin at `past`, from where a third more samples are read than that.
template <int Samples>
G729_VECTOR void InterpolateBlock(const std::int32_t* pairs, const std::int16_t* past, std::int16_t* y) {
    const auto load = [](const std::int16_t* p) {
        return Samples == 16 ? Load16(p) : _mm256_castsi128_si256(Load8(p));
    };
    __m256i even = _mm256_set1_epi32(0x4000);
    __m256i odd = even;
    for (int i = 0; i < LagPairs; i++) {
        const __m256i taps = _mm256_set1_epi32(pairs[i]);
        even = _mm256_add_epi32(even, _mm256_madd_epi16(load(past + 2 * i), taps));
        odd = _mm256_add_epi32(odd, _mm256_madd_epi16(load(past + 2 * i + 1), taps));
    }
    const __m256i block = Interleave(_mm256_srai_epi32(even, 15), _mm256_srai_epi32(odd, 15));
    if constexpr (Samples == 16) {
        Store(y, block);
    } else {
        Store(y, _mm256_castsi256_si128(block));
    }
}

G729_VECTOR void InterpolateLag(std::int16_t* excitation, int lag, int fraction) {
    static constexpr LagFilters Filters;
    constexpr int OwnOutputsFrom = 26;  // with shorter lags 16 samples depend on each other
    const int phase = fraction > 0 ? Thirds - fraction : -fraction;
    const std::int32_t* pairs = Filters.pairs[phase];
    const std::int16_t* past = excitation - lag - (fraction > 0 ? 1 : 0) - (LagTaps - 1);
    if (lag >= OwnOutputsFrom) {
        for (const int at : OverlappingRows) InterpolateBlock<16>(pairs, past + at, excitation + at);
    } else {
        for (int at = 0; at < SubframeSamples; at += 8)
            InterpolateBlock<8>(pairs, past + at, excitation + at);
    }
    __m256i peak = _mm256_setzero_si256();
    constexpr int Windows[] = {0, 16, 32, 43};  // that together cover all that is read
    for (const int at : Windows) peak = _mm256_max_epu16(peak, _mm256_abs_epi16(Load16(past + at)));
    constexpr int SafePeak = (0x40000000 - 0x4000) / Filters.reach;
    if (Largest(peak) > SafePeak) g729::InterpolateLag(excitation, lag, fraction);
}

// Gains are not negative, so that no product clips before the sum is rounded.
G729_VECTOR __m256i Mixed(__m256i excitation, __m256i code, __m256i gains) {
    const __m256i half = _mm256_set1_epi32(0x2000);
    const __m256i low = _mm256_madd_epi16(_mm256_unpacklo_epi16(excitation, code), gains);
    const __m256i high = _mm256_madd_epi16(_mm256_unpackhi_epi16(excitation, code), gains);
    return _mm256_packs_epi32(_mm256_srai_epi32(_mm256_add_epi32(low, half), 14),
                              _mm256_srai_epi32(_mm256_add_epi32(high, half), 14));
}

G729_VECTOR void MixExcitation(std::int16_t* excitation, const std::int16_t* code, std::int16_t pitchGain,
                               std::int16_t codeGain) {
    const __m256i gains = Pair(pitchGain, codeGain);
    ForSubframe([&](auto row) { row.Put(excitation, Mixed(row.Get(excitation), row.Get(code), gains)); });
}

}  // namespace

}  // namespace g729::x86
