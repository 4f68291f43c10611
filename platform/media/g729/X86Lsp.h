// Vector form of the way from LSPs to the filters of both subframes.
#pragma once

#include "platform/media/g729/Lsp.h"
#include "platform/media/g729/X86Vectors.h"

namespace g729::x86 {

namespace {

constexpr int LspHalf = Order / 2;

// The polynomials of even and odd pairs for one subframe after the other, each in the lower half of 64 bits,
// without clipping.
struct Polynomials {
    __m256i f[LspHalf + 1];
    __m256i reached;  // whatever bits any coefficient reached beyond its sign

    [[gnu::always_inline]] inline void Note(__m256i coefficient) {
        reached = _mm256_or_si256(reached, _mm256_xor_si256(coefficient, _mm256_srai_epi32(coefficient, 31)));
    }
};

G729_VECTOR Polynomials Multiplied(const __m256i (&q)[LspHalf]) {
    Polynomials p;
    p.reached = _mm256_setzero_si256();
    p.f[0] = _mm256_set1_epi32(1 << 24);
    p.f[1] = _mm256_sub_epi32(_mm256_setzero_si256(), _mm256_slli_epi32(q[0], 10));
    for (int i = 2; i <= LspHalf; i++) {
        p.f[i] = p.f[i - 2];
        for (int j = i; j >= 2; j--) {
            const __m256i product = _mm256_mul_epi32(_mm256_srai_epi32(p.f[j - 1], 1), q[i - 1]);
            const __m256i twice = _mm256_slli_epi32(_mm256_srli_epi64(product, 15), 2);
            p.f[j] = _mm256_sub_epi32(_mm256_add_epi32(p.f[j], p.f[j - 2]), twice);
            p.Note(p.f[j]);
        }
        p.f[1] = _mm256_sub_epi32(p.f[1], _mm256_slli_epi32(q[i - 1], 10));
        p.Note(p.f[1]);
    }
    return p;
}

// a[i] in the even and a[11 - i] in the odd 64 bits, cut to 16.
G729_VECTOR __m256i Pairs(__m256i f, __m256i below, __m256i isOdd) {
    const auto negatedIfOdd = [isOdd](__m256i v) {
        return _mm256_sub_epi32(_mm256_xor_si256(v, isOdd), isOdd);
    };
    const __m256i own = _mm256_add_epi32(f, negatedIfOdd(below));
    const __m256i sum = _mm256_add_epi32(_mm256_shuffle_epi32(own, 0x4E), negatedIfOdd(own));
    const __m256i bit = _mm256_and_si256(_mm256_srli_epi32(sum, 12), _mm256_set1_epi32(1));
    const __m256i rounded = _mm256_add_epi32(_mm256_srai_epi32(sum, 13), bit);
    return _mm256_and_si256(rounded, _mm256_set1_epi64x(0xFFFF));
}

G729_VECTOR void StoreCoefficients(std::int16_t* a, __m128i first, __m128i last) {
    a[0] = 4096;
    Store(a + 1, first);
    Store(a + 3, last);
}

// Coefficients below 2^29 neither clip nor wrap in the next step.
G729_VECTOR void SubframeCoefficients(const std::int16_t* last, const std::int16_t* current,
                                      std::int16_t (&a)[Subframes][Coefficients]) {
    const auto middle = [](__m128i one, __m128i two) {
        return _mm_add_epi16(_mm_srai_epi16(one, 1), _mm_srai_epi16(two, 1));
    };
    const __m128i now = Load8(current);
    const __m128i nowEnd = Load8(current + 2);
    const __m128i half = middle(now, Load8(last));
    const __m128i halfEnd = middle(nowEnd, Load8(last + 2));
    const __m128i low = _mm_unpacklo_epi32(half, now);
    const __m128i high = _mm_unpackhi_epi32(half, now);
    const __m128i end = _mm_unpackhi_epi32(halfEnd, nowEnd);
    const __m256i q[] = {_mm256_cvtepi16_epi64(low), _mm256_cvtepi16_epi64(_mm_srli_si128(low, 8)),
                         _mm256_cvtepi16_epi64(high), _mm256_cvtepi16_epi64(_mm_srli_si128(high, 8)),
                         _mm256_cvtepi16_epi64(_mm_srli_si128(end, 8))};
    const Polynomials p = Multiplied(q);
    if (!_mm256_testz_si256(p.reached, _mm256_set1_epi64x(0xE0000000))) {
        return g729::SubframeCoefficients(last, current, a);
    }
    const __m256i isOdd = _mm256_setr_epi64x(0, -1, 0, -1);
    __m256i outer = Pairs(p.f[1], p.f[0], isOdd);
    for (int i = 2; i < LspHalf; i++) {
        outer = _mm256_or_si256(outer, _mm256_slli_epi64(Pairs(p.f[i], p.f[i - 1], isOdd), 16 * (i - 1)));
    }
    const __m256i inner = Pairs(p.f[LspHalf], p.f[LspHalf - 1], isOdd);
    // Words of `outer`: 1 2 3 4 10 9 8 7; of `inner`: 5 - - - 6 - - -.
    const auto picked = [](__m256i v, __m128i order) {
        return _mm256_shuffle_epi8(v, _mm256_broadcastsi128_si256(order));
    };
    const __m256i first = _mm256_or_si256(
        picked(outer, _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, -1, -1, -1, -1, 14, 15, 12, 13)),
        picked(inner, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 8, 9, -1, -1, -1, -1)));
    const __m256i second = _mm256_or_si256(
        picked(outer, _mm_setr_epi8(4, 5, 6, 7, -1, -1, -1, -1, 14, 15, 12, 13, 10, 11, 8, 9)),
        picked(inner, _mm_setr_epi8(-1, -1, -1, -1, 0, 1, 8, 9, -1, -1, -1, -1, -1, -1, -1, -1)));
    StoreCoefficients(a[0], _mm256_castsi256_si128(first), _mm256_castsi256_si128(second));
    StoreCoefficients(a[1], _mm256_extracti128_si256(first, 1), _mm256_extracti128_si256(second, 1));
}

}  // namespace

}  // namespace g729::x86
