// Vectors of 256 bits, for files compiled for AVX2: the operations that the vector kernels are written in.
#pragma once

#include "platform/media/g729/Vector128.h"

namespace g729 {

namespace {

struct Vector256 {
    static constexpr int Bytes = 32;
    static constexpr int Lanes = 8;    // of 32 bits
    static constexpr int Halves = 16;  // of 16 bits

    using Words [[gnu::vector_size(Bytes)]] = std::int32_t;
    using Longs [[gnu::vector_size(Bytes)]] = std::uint64_t;

    G729_INLINE static __m256i Raw(Words x) { return reinterpret_cast<__m256i>(x); }
    G729_INLINE static Words Of(__m256i x) { return reinterpret_cast<Words>(x); }

    G729_INLINE static Words Load(const void* p) {
        return Of(_mm256_loadu_si256(static_cast<const __m256i*>(p)));
    }
    // 128 bits, the rest zero.
    G729_INLINE static Words LoadTail(const void* p) {
        return Of(_mm256_zextsi128_si256(vector128::Load(p)));
    }
    // 16 bits each, with their signs.
    G729_INLINE static Words LoadWidened(const std::int16_t* p) {
        return Of(_mm256_cvtepi16_epi32(vector128::Load(p)));
    }
    G729_INLINE static void StoreTail(void* p, Words x) {
        vector128::Store(p, _mm256_castsi256_si128(Raw(x)));
    }
    G729_INLINE static void Store(void* p, Words x) { _mm256_storeu_si256(static_cast<__m256i*>(p), Raw(x)); }
    G729_INLINE static Words Set(std::int32_t x) { return Of(_mm256_set1_epi32(x)); }
    G729_INLINE static Words SetHalves(std::int16_t x) { return Of(_mm256_set1_epi16(x)); }
    G729_INLINE static Words SetPair(const std::int16_t* p) {
        return Of(_mm256_broadcastd_epi32(vector128::SetPair(p)));
    }

    // One lane of eight in all lanes.
    G729_INLINE static Words SetLane(__m256i x, int lane) {
        return Of(_mm256_permutevar8x32_epi32(x, _mm256_set1_epi32(lane)));
    }

    // Sum of the two products of 16 bits in a lane.
    G729_INLINE static Words Madd(Words x, Words y) { return Of(_mm256_madd_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words Max(Words x, Words y) { return Of(_mm256_max_epi32(Raw(x), Raw(y))); }
    G729_INLINE static Words Min(Words x, Words y) { return Of(_mm256_min_epi32(Raw(x), Raw(y))); }
    G729_INLINE static Words MinUnsigned(Words x, Words y) { return Of(_mm256_min_epu32(Raw(x), Raw(y))); }
    G729_INLINE static Words Abs(Words x) { return Of(_mm256_abs_epi32(Raw(x))); }
    G729_INLINE static Words ShiftRight(Words x, int count) {
        return Of(_mm256_sra_epi32(Raw(x), _mm_cvtsi32_si128(count)));
    }

    // Of 16 bits; sums and differences clip, products are shifted by 15 and rounded, or by 16.
    G729_INLINE static Words AddHalves(Words x, Words y) { return Of(_mm256_adds_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words SubHalves(Words x, Words y) { return Of(_mm256_subs_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words MultR(Words x, Words y) { return Of(_mm256_mulhrs_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words MultHigh(Words x, Words y) { return Of(_mm256_mulhi_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words MultLow(Words x, Words y) { return Of(_mm256_mullo_epi16(Raw(x), Raw(y))); }
    // Products shifted right, clipped to 16 bits.
    template <int Count>
    G729_INLINE static Words MultShifted(Words x, Words y) {
        const auto low = _mm256_mullo_epi16(Raw(x), Raw(y));
        const auto high = _mm256_mulhi_epi16(Raw(x), Raw(y));
        return Of(_mm256_packs_epi32(_mm256_srai_epi32(_mm256_unpacklo_epi16(low, high), Count),
                                     _mm256_srai_epi32(_mm256_unpackhi_epi16(low, high), Count)));
    }
    template <int Count>
    G729_INLINE static Words ShiftHalvesRight(Words x) {
        return Of(_mm256_srai_epi16(Raw(x), Count));
    }
    template <int Count>
    G729_INLINE static Words ShiftHalvesLeft(Words x) {
        return Of(_mm256_slli_epi16(Raw(x), Count));
    }
    template <int Count>
    G729_INLINE static Words ShiftHalvesDown(Words x) {
        return Of(_mm256_srli_epi16(Raw(x), Count));
    }

    // The lanes of x and then those of y, which have to fit 16 bits.
    G729_INLINE static Words Pack(Words x, Words y) {
        return Of(_mm256_permute4x64_epi64(_mm256_packs_epi32(Raw(x), Raw(y)), 0b11011000));
    }

    // A bit for every lane in which the condition, 0 or -1, is met.
    G729_INLINE static std::uint32_t Mask(Words condition) {
        return static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(Raw(condition))));
    }

    // Four partial sums, or the largest of four parts.
    G729_INLINE static __m128i Fold(Words x) {
        return _mm_add_epi32(_mm256_castsi256_si128(Raw(x)), _mm256_extracti128_si256(Raw(x), 1));
    }
    G729_INLINE static __m128i FoldMax(Words x) {
        return _mm_max_epi32(_mm256_castsi256_si128(Raw(x)), _mm256_extracti128_si256(Raw(x), 1));
    }
};

}  // namespace

}  // namespace g729
