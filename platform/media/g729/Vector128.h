// What the wider vectors share. Files for different instruction sets include it: everything is inlined and
// has no name that another file could be linked to.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "platform/media/g729/BasicOps.h"

#define G729_INLINE [[gnu::always_inline]] inline

namespace g729 {

namespace {

namespace vector128 {

G729_INLINE __m128i Load(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}
G729_INLINE void Store(void* p, __m128i x) {
    _mm_storeu_si128(static_cast<__m128i*>(p), x);
}

// A pair of 16 bits in all four lanes.
G729_INLINE __m128i SetPair(const std::int16_t* p) {
    std::int32_t pair;
    std::memcpy(&pair, p, sizeof pair);
    return _mm_set1_epi32(pair);
}

G729_INLINE std::int32_t Sum(__m128i x) {
    const __m128i pairs = _mm_add_epi32(x, _mm_shuffle_epi32(x, 0b01001110));
    return _mm_cvtsi128_si32(_mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, 0b10110001)));
}

G729_INLINE std::int32_t Max(__m128i x) {
    const __m128i pairs = _mm_max_epi32(x, _mm_shuffle_epi32(x, 0b01001110));
    return _mm_cvtsi128_si32(_mm_max_epi32(pairs, _mm_shuffle_epi32(pairs, 0b10110001)));
}

// The sums of the lanes of four vectors.
G729_INLINE __m128i Sums(__m128i a, __m128i b, __m128i c, __m128i d) {
    const __m128i ab = _mm_add_epi32(_mm_unpacklo_epi32(a, b), _mm_unpackhi_epi32(a, b));
    const __m128i cd = _mm_add_epi32(_mm_unpacklo_epi32(c, d), _mm_unpackhi_epi32(c, d));
    return _mm_add_epi32(_mm_unpacklo_epi64(ab, cd), _mm_unpackhi_epi64(ab, cd));
}

}  // namespace vector128

}  // namespace

}  // namespace g729
