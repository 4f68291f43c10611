// What the vector kernels of x86-64 are made of. Included by files that are compiled for one instruction set
// each: all of it is in unnamed namespaces, so that no function of one can take the place of another's.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "platform/media/g729/BasicOps.h"

#define G729_VECTOR [[gnu::always_inline]] static inline

namespace g729::x86 {

namespace {

G729_VECTOR __m128i Load8(const std::int16_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
G729_VECTOR __m256i Load16(const std::int16_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
G729_VECTOR __m256i Load8(const std::int32_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
G729_VECTOR void Store(std::int16_t* p, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}
G729_VECTOR void Store(std::int16_t* p, __m256i v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}
G729_VECTOR void Store(std::int32_t* p, __m256i v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// Two 16-bit numbers in every 32 bits, `low` in the sample that comes first.
G729_VECTOR __m256i Pair(std::int16_t low, std::int16_t high) {
    return _mm256_set1_epi32(static_cast<std::uint16_t>(low) | static_cast<int>(high) * 0x10000);
}

// Clips sums of the samples at even and at odd places to 16 bits and puts them in one row.
G729_VECTOR __m256i Interleave(__m256i even, __m256i odd) {
    const __m256i order = _mm256_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15,  //
                                           0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    return _mm256_shuffle_epi8(_mm256_packs_epi32(even, odd), order);
}

// (a * b) >> 15 of every sample; a * b below 2^30.
G729_VECTOR __m256i Multiply(__m256i a, __m256i b) {
    return _mm256_or_si256(_mm256_slli_epi16(_mm256_mulhi_epi16(a, b), 1),
                           _mm256_srli_epi16(_mm256_mullo_epi16(a, b), 15));
}

// The largest of unsigned 16-bit numbers.
G729_VECTOR int Largest(__m256i v) {
    const __m128i inverted = _mm_xor_si128(
        _mm_max_epu16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)), _mm_set1_epi16(-1));
    return 0xFFFF - _mm_extract_epi16(_mm_minpos_epu16(inverted), 0);
}

// The largest of signed 32-bit numbers.
G729_VECTOR int Largest32(__m128i v) {
    __m128i most = _mm_max_epi32(v, _mm_shuffle_epi32(v, 0x4E));
    most = _mm_max_epi32(most, _mm_shuffle_epi32(most, 0xB1));
    return _mm_cvtsi128_si32(most);
}

G729_VECTOR int Largest32(__m256i v) {
    return Largest32(_mm_max_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)));
}

// The sum of 32-bit numbers, modulo 2^32.
G729_VECTOR std::uint32_t Sum(__m128i v) {
    __m128i sum = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4E));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0xB1));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(sum));
}

G729_VECTOR std::uint32_t Sum(__m256i v) {
    return Sum(_mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)));
}

// Where sixteen samples begin that together cover a subframe, some of them twice.
constexpr int OverlappingRows[] = {0, 16, 24};

// Sixteen samples of a subframe, or in the last row eight and zeros.
template <int At, bool IsWhole>
struct Row {
    [[gnu::always_inline]] inline __m256i Get(const std::int16_t* x) const {
        if constexpr (IsWhole) return Load16(x + At);
        return _mm256_zextsi128_si256(Load8(x + At));
    }
    [[gnu::always_inline]] inline void Put(std::int16_t* y, __m256i v) const {
        if constexpr (IsWhole) {
            Store(y + At, v);
        } else {
            Store(y + At, _mm256_castsi256_si128(v));
        }
    }
};

// Runs `body` on the three rows of a subframe.
template <typename Body>
G729_VECTOR void ForSubframe(Body body) {
    body(Row<0, true>());
    body(Row<16, true>());
    body(Row<32, false>());
}

}  // namespace

}  // namespace g729::x86
