// Vector forms of the post-filter and of the output.
#pragma once

#include "platform/media/g729/PostFilterKernels.h"
#include "platform/media/g729/Sizes.h"
#include "platform/media/g729/Tables.h"
#include "platform/media/g729/X86Filters.h"
#include "platform/media/g729/X86Response.h"
#include "platform/media/g729/X86Vectors.h"

namespace g729::x86 {

namespace {

constexpr int PeriodLags = 7;

// Sums of eight vectors, in their order.
G729_VECTOR __m256i Sums(const __m256i (&v)[8]) {
    const __m256i first = _mm256_hadd_epi32(_mm256_hadd_epi32(v[0], v[1]), _mm256_hadd_epi32(v[2], v[3]));
    const __m256i second = _mm256_hadd_epi32(_mm256_hadd_epi32(v[4], v[5]), _mm256_hadd_epi32(v[6], v[7]));
    return _mm256_add_epi32(_mm256_permute2x128_si256(first, second, 0x20),
                            _mm256_permute2x128_si256(first, second, 0x31));
}

// No sum of squares of a quarter of 40 samples exceeds 32 bits before it is doubled.
G729_VECTOR std::int32_t Doubled(std::uint32_t sum, std::int32_t start) {
    return sum >= ClippingHalf ? Max32 : static_cast<std::int32_t>(2 * sum) + start;
}

G729_VECTOR __m256i SquareOfQuarter(const std::int16_t* x) {
    __m256i sum = _mm256_setzero_si256();
    ForSubframe([&](auto row) {
        const __m256i quarter = _mm256_srai_epi16(row.Get(x), 2);
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(quarter, quarter));
    });
    return sum;
}

G729_VECTOR std::int32_t Energy(const std::int16_t* x) {
    return Doubled(Sum(SquareOfQuarter(x)), 0);
}

// No partial sum of products exceeds the larger energy of the two factors, so that correlations cannot clip
// while energies do not.
G729_VECTOR PeriodMatch MatchPeriod(const std::int16_t* x, int first) {
    __m256i own[3];
    int rows = 0;
    ForSubframe([&](auto row) { own[rows++] = _mm256_srai_epi16(row.Get(x), 2); });
    __m256i products[8];
    __m256i squares[8];
    for (int i = 0; i < PeriodLags; i++) {
        products[i] = squares[i] = _mm256_setzero_si256();
        rows = 0;
        ForSubframe([&](auto row) {
            const __m256i past = _mm256_srai_epi16(row.Get(x - first - i), 2);
            products[i] = _mm256_add_epi32(products[i], _mm256_madd_epi16(past, own[rows++]));
            squares[i] = _mm256_add_epi32(squares[i], _mm256_madd_epi16(past, past));
        });
    }
    products[PeriodLags] = _mm256_set1_epi32(0);
    squares[PeriodLags] = _mm256_add_epi32(
        _mm256_add_epi32(_mm256_madd_epi16(own[0], own[0]), _mm256_madd_epi16(own[1], own[1])),
        _mm256_madd_epi16(own[2], own[2]));
    alignas(32) std::int32_t correlations[8];
    alignas(32) std::uint32_t energies[8];
    const __m256i energySums = Sums(squares);
    Store(correlations, Sums(products));
    Store(reinterpret_cast<std::int32_t*>(energies), energySums);
    if (_mm256_movemask_ps(
            _mm256_castsi256_ps(_mm256_or_si256(energySums, _mm256_slli_epi32(energySums, 1))))) {
        return g729::MatchPeriod(x, first);
    }
    int best = 0;
    for (int i = 1; i < PeriodLags; i++) best = correlations[i] > correlations[best] ? i : best;
    return {first + best, 2 * correlations[best], Doubled(energies[best], 1),
            Doubled(energies[PeriodLags], 1)};
}

G729_VECTOR void AddPeriod(const std::int16_t* x, int lag, std::int16_t gain, std::int16_t pastGain,
                           std::int16_t* y) {
    const __m256i own = _mm256_set1_epi16(gain);
    const __m256i past = _mm256_set1_epi16(pastGain);
    ForSubframe([&](auto row) {
        row.Put(y, _mm256_adds_epi16(Multiply(row.Get(x), own), Multiply(row.Get(x - lag), past)));
    });
}

G729_VECTOR void CompensateTilt(const std::int16_t* x, std::int16_t tilt, std::int16_t* y) {
    const __m256i factor = _mm256_set1_epi16(tilt);
    ForSubframe(
        [&](auto row) { row.Put(y, _mm256_subs_epi16(row.Get(x), Multiply(row.Get(x - 1), factor))); });
}

class RampRecursion {
 public:
    [[gnu::always_inline]] inline explicit RampRecursion(GainRamp& ramp)
        : gains(ramp.gains), gain(ramp.gain), step(ramp.step) {}

    template <int>
    [[gnu::always_inline]] inline void Step(int n) {
        constexpr int Persistence = 29491;  // Q15, 0.9
        gain = (gain * Persistence >> 15) + step;
        gains[n] = static_cast<std::int16_t>(gain);
    }

    [[gnu::always_inline]] inline std::int16_t Last() const { return static_cast<std::int16_t>(gain); }

 private:
    std::int16_t* gains;
    int gain;
    int step;
};

G729_VECTOR __m256i Amplified(__m256i x, __m256i gain) {
    const __m256i low = _mm256_mullo_epi16(x, gain);
    const __m256i high = _mm256_mulhi_epi16(x, gain);
    return _mm256_packs_epi32(_mm256_srai_epi32(_mm256_unpacklo_epi16(low, high), 12),
                              _mm256_srai_epi32(_mm256_unpackhi_epi16(low, high), 12));
}

G729_VECTOR void Amplify(const std::int16_t* x, const std::int16_t* gains, std::int16_t* y) {
    ForSubframe([&](auto row) { row.Put(y, Amplified(row.Get(x), row.Get(gains))); });
}

// The recursive half of the high-pass without clipping, in halves of the sums before they are multiplied by
// four: all terms are even.
class HighPassRecursion {
 public:
    [[gnu::always_inline]] inline HighPassRecursion(const std::int32_t* inputs, std::int32_t* outputs,
                                                    const HighPassMemory& memory)
        : inputs(inputs), outputs(outputs), half1(memory.y[0] >> 3), half2(memory.y[1] >> 3) {}

    template <int>
    [[gnu::always_inline]] inline void Step(int n) {
        std::int64_t half = inputs[n] + (half2 * OutputHighPassA[2] >> 13);
        asm("" : "+r"(half));  // only the next line waits for the last output
        half += half1 * OutputHighPassA[1] >> 13;
        outputs[n] = static_cast<std::int32_t>(half);
        half2 = half1;
        half1 = half;
    }

 private:
    const std::int32_t* inputs;
    std::int32_t* outputs;
    std::int64_t half1, half2;
};

}  // namespace

}  // namespace g729::x86
