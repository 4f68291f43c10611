// The responses of the two post-filters of a frame to an impulse, one in either half of the vectors.
#pragma once

#include "platform/media/g729/DecoderKernels.h"
#include "platform/media/g729/PostFilterKernels.h"
#include "platform/media/g729/X86Filters.h"
#include "platform/media/g729/X86Vectors.h"

namespace g729::x86 {

namespace {

constexpr std::uint32_t ClippingHalf = 0x40000000;  // a sum from which its double is clipped

G729_VECTOR __m256i Twin(__m128i first, __m128i second) {
    return _mm256_set_m128i(second, first);
}

// What has been added up for the next twelve samples moves along by one, and the output that is due takes its
// products from all of them.
class ResponseRecursion {
 public:
    static constexpr int Steps = 24;  // 22 and two that do not count

    [[gnu::always_inline]] inline explicit ResponseRecursion(const PostFilterShape (&shapes)[Subframes])
        : shapes(shapes) {
        const auto widened = [](__m128i one, __m128i two) {
            return Twin(_mm_cvtepu16_epi32(one), _mm_cvtepu16_epi32(two));
        };
        const std::int16_t* first = shapes[0].denominator;
        const std::int16_t* second = shapes[1].denominator;
        taps[0] = widened(Load8(first + 1), Load8(second + 1));
        taps[1] = widened(_mm_srli_si128(Load8(first + 1), 8), _mm_srli_si128(Load8(second + 1), 8));
        taps[2] = widened(_mm_srli_si128(Load8(first + 3), 12), _mm_srli_si128(Load8(second + 3), 12));
        for (int i = 0; i < 3; i++) sums[i] = Inputs(4 * i);
        following = _mm256_set1_epi32(Half);
    }

    template <int Phase>
    [[gnu::always_inline]] inline void Step(int n) {
        due[Phase] = _mm256_srai_epi32(sums[0], RoundingShift);
        sums[0] = _mm256_alignr_epi8(sums[1], sums[0], 4);
        sums[1] = _mm256_alignr_epi8(sums[2], sums[1], 4);
        sums[2] = _mm256_alignr_epi8(following, sums[2], 4);
        const __m256i output = _mm256_shuffle_epi32(due[Phase], 0);
        for (int i = 0; i < 3; i++) sums[i] = _mm256_sub_epi32(sums[i], _mm256_madd_epi16(taps[i], output));
        if constexpr (Phase == 3) {
            outputs[n / 4] = _mm256_unpacklo_epi64(_mm256_unpacklo_epi32(due[0], due[1]),
                                                   _mm256_unpacklo_epi32(due[2], due[3]));
        }
    }

    [[gnu::always_inline]] inline void Finish(ResponseEnergy (&energies)[Subframes]) const {
        __m256i peak = _mm256_setzero_si256();
        for (const __m256i& four : outputs) peak = _mm256_max_epi32(peak, _mm256_abs_epi32(four));
        const __m256i counted =
            Twin(_mm_srli_si128(_mm_set1_epi8(-1), 4), _mm_srli_si128(_mm_set1_epi8(-1), 4));
        const __m256i h[] = {_mm256_packs_epi32(outputs[0], outputs[1]),
                             _mm256_packs_epi32(outputs[2], outputs[3]),
                             _mm256_and_si256(_mm256_packs_epi32(outputs[4], outputs[5]), counted)};
        const __m256i later[] = {_mm256_alignr_epi8(h[1], h[0], 2), _mm256_alignr_epi8(h[2], h[1], 2),
                                 _mm256_srli_si256(h[2], 2)};
        __m256i same = _mm256_setzero_si256();
        __m256i next = _mm256_setzero_si256();
        for (int i = 0; i < 3; i++) {
            same = _mm256_add_epi64(same, Widened(_mm256_madd_epi16(h[i], h[i])));
            next = _mm256_add_epi32(next, _mm256_madd_epi16(h[i], later[i]));
        }
        energies[0] = Energies(0, _mm256_castsi256_si128(peak), _mm256_castsi256_si128(same),
                               _mm256_castsi256_si128(next));
        energies[1] = Energies(1, _mm256_extracti128_si256(peak, 1), _mm256_extracti128_si256(same, 1),
                               _mm256_extracti128_si256(next, 1));
    }

 private:
    static constexpr int Half = 1 << (RoundingShift - 1);

    [[gnu::always_inline]] inline __m256i Inputs(int at) const {
        const auto four = [at](const PostFilterShape& shape) {
            return _mm_cvtepi16_epi32(
                _mm_loadl_epi64(reinterpret_cast<const __m128i*>(shape.numerator + at)));
        };
        const __m256i a0 =
            Twin(_mm_set1_epi32(shapes[0].denominator[0]), _mm_set1_epi32(shapes[1].denominator[0]));
        return _mm256_add_epi32(_mm256_mullo_epi32(Twin(four(shapes[0]), four(shapes[1])), a0),
                                _mm256_set1_epi32(Half));
    }

    // The sums of neighbours, which are not negative.
    [[gnu::always_inline]] static inline __m256i Widened(__m256i v) {
        return _mm256_add_epi64(_mm256_and_si256(v, _mm256_set1_epi64x(0xFFFFFFFF)),
                                _mm256_srli_epi64(v, 32));
    }

    // No correlation exceeds the energy, which therefore decides on clipping.
    [[gnu::always_inline]] inline ResponseEnergy Energies(int i, __m128i peak, __m128i same,
                                                          __m128i next) const {
        const PostFilterShape& shape = shapes[i];
        const auto energy = static_cast<std::uint64_t>(_mm_cvtsi128_si64(same)) +
                            static_cast<std::uint64_t>(_mm_extract_epi64(same, 1));
        int inputPeak = 0;
        for (const std::int16_t value : shape.numerator) inputPeak |= value < 0 ? ~value : value;
        if (energy >= ClippingHalf || !IsSafe(shape.denominator, Largest32(peak), inputPeak + 1))
            return Respond(shape);
        return {Hi(static_cast<std::int32_t>(2 * energy)), Hi(static_cast<std::int32_t>(2 * Sum(next)))};
    }

    const PostFilterShape (&shapes)[Subframes];
    __m256i taps[3];
    __m256i sums[3];
    __m256i following;  // beyond the numerator nothing comes in
    __m256i due[4];
    __m256i outputs[Steps / 4];
};

}  // namespace

}  // namespace g729::x86
