// Vectors of 512 bits, for files compiled for AVX-512: the operations that the vector kernels are written in.
// What they do is said with Vector256.
#pragma once

#include "platform/media/g729/Vector128.h"

namespace g729 {

namespace {

struct Vector512 {
    static constexpr int Bytes = 64;
    static constexpr int Lanes = 16;
    static constexpr int Halves = 32;

    using Words [[gnu::vector_size(Bytes)]] = std::int32_t;
    using Longs [[gnu::vector_size(Bytes)]] = std::uint64_t;

    G729_INLINE static __m512i Raw(Words x) { return reinterpret_cast<__m512i>(x); }
    G729_INLINE static Words Of(__m512i x) { return reinterpret_cast<Words>(x); }

    G729_INLINE static Words Load(const void* p) { return Of(_mm512_loadu_si512(p)); }
    G729_INLINE static Words LoadTail(const void* p) {
        return Of(_mm512_zextsi128_si512(vector128::Load(p)));
    }
    G729_INLINE static Words LoadWidened(const std::int16_t* p) {
        return Of(_mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))));
    }
    G729_INLINE static void StoreTail(void* p, Words x) {
        vector128::Store(p, _mm512_castsi512_si128(Raw(x)));
    }
    G729_INLINE static void Store(void* p, Words x) { _mm512_storeu_si512(p, Raw(x)); }
    G729_INLINE static Words Set(std::int32_t x) { return Of(_mm512_set1_epi32(x)); }
    G729_INLINE static Words SetHalves(std::int16_t x) { return Of(_mm512_set1_epi16(x)); }
    G729_INLINE static Words SetPair(const std::int16_t* p) {
        std::int32_t pair;
        std::memcpy(&pair, p, sizeof pair);
        return Set(pair);
    }

    G729_INLINE static Words SetLane(__m256i x, int lane) {
        return Of(_mm512_permutexvar_epi32(_mm512_set1_epi32(lane), _mm512_castsi256_si512(x)));
    }

    G729_INLINE static Words Madd(Words x, Words y) { return Of(_mm512_madd_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words Max(Words x, Words y) { return x > y ? x : y; }
    G729_INLINE static Words Min(Words x, Words y) { return x < y ? x : y; }
    G729_INLINE static Words MinUnsigned(Words x, Words y) {
        using Unsigned [[gnu::vector_size(Bytes)]] = std::uint32_t;
        const auto a = reinterpret_cast<Unsigned>(x);
        const auto b = reinterpret_cast<Unsigned>(y);
        return reinterpret_cast<Words>(a < b ? a : b);
    }
    G729_INLINE static Words Abs(Words x) { return Max(x, -x); }
    G729_INLINE static Words ShiftRight(Words x, int count) { return x >> count; }

    G729_INLINE static Words AddHalves(Words x, Words y) { return Of(_mm512_adds_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words SubHalves(Words x, Words y) { return Of(_mm512_subs_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words MultR(Words x, Words y) { return Of(_mm512_mulhrs_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words MultHigh(Words x, Words y) { return Of(_mm512_mulhi_epi16(Raw(x), Raw(y))); }
    G729_INLINE static Words MultLow(Words x, Words y) { return Of(_mm512_mullo_epi16(Raw(x), Raw(y))); }
    template <int Count>
    G729_INLINE static Words MultShifted(Words x, Words y) {
        const auto low = _mm512_mullo_epi16(Raw(x), Raw(y));
        const auto high = _mm512_mulhi_epi16(Raw(x), Raw(y));
        return Of(_mm512_packs_epi32(_mm512_srai_epi32(_mm512_unpacklo_epi16(low, high), Count),
                                     _mm512_srai_epi32(_mm512_unpackhi_epi16(low, high), Count)));
    }
    template <int Count>
    G729_INLINE static Words ShiftHalvesRight(Words x) {
        return Of(_mm512_srai_epi16(Raw(x), Count));
    }
    template <int Count>
    G729_INLINE static Words ShiftHalvesLeft(Words x) {
        return Of(_mm512_slli_epi16(Raw(x), Count));
    }
    template <int Count>
    G729_INLINE static Words ShiftHalvesDown(Words x) {
        return Of(_mm512_srli_epi16(Raw(x), Count));
    }

    G729_INLINE static Words Pack(Words x, Words y) {
        const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
        return Of(_mm512_permutexvar_epi64(order, _mm512_packs_epi32(Raw(x), Raw(y))));
    }

    G729_INLINE static std::uint32_t Mask(Words condition) { return _mm512_movepi32_mask(Raw(condition)); }

    G729_INLINE static __m256i Low(Words x) { return _mm512_castsi512_si256(Raw(x)); }
    G729_INLINE static __m256i High(Words x) { return _mm512_extracti64x4_epi64(Raw(x), 1); }
    G729_INLINE static __m128i Fold(Words x) {
        const __m256i sum = _mm256_add_epi32(Low(x), High(x));
        return _mm_add_epi32(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1));
    }
    G729_INLINE static __m128i FoldMax(Words x) {
        const __m256i largest = _mm256_max_epi32(Low(x), High(x));
        return _mm_max_epi32(_mm256_castsi256_si128(largest), _mm256_extracti128_si256(largest, 1));
    }
};

}  // namespace

}  // namespace g729
