// Vector forms of the prediction filters. While no sum can leave 32 bits, clipping cannot happen and the
// order of terms does not matter; where that is not certain, the portable form decides.
#pragma once

#include "platform/media/g729/Filters.h"
#include "platform/media/g729/X86Vectors.h"

namespace g729::x86 {

namespace {

// What the sum of products may reach before it is doubled, with room for rounding.
constexpr std::int64_t SafeSum = (std::int64_t{1} << 30) - 0x1000;
constexpr int RoundingShift = 12;  // Q12 of the coefficients

G729_VECTOR __m256i Rounded(__m256i sum) {
    return _mm256_srai_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(1 << (RoundingShift - 1))),
                             RoundingShift);
}

// Of a[1..10].
G729_VECTOR int SumOfMagnitudes(const std::int16_t* a) {
    const __m256i most = _mm256_abs_epi32(_mm256_cvtepi16_epi32(Load8(a + 1)));
    const auto last = [a](int i) { return a[i] < 0 ? -a[i] : +a[i]; };
    return static_cast<int>(Sum(most)) + last(9) + last(10);
}

// The largest magnitude of x[0..39] and x[-10..-1].
G729_VECTOR int PeakWithHistory(const std::int16_t* x) {
    const auto magnitudes = [x](int at) { return _mm256_abs_epi16(Load16(x + at)); };
    const __m256i first = _mm256_max_epu16(magnitudes(-10), magnitudes(6));
    return Largest(_mm256_max_epu16(first, _mm256_max_epu16(magnitudes(22), magnitudes(24))));
}

// Sums of 16 samples from x on, at even and at odd places.
struct SumPair {
    __m256i even;
    __m256i odd;
};

G729_VECTOR SumPair ResidualSums(const __m256i (&a)[5], __m256i a0, const std::int16_t* x) {
    const __m256i own = Load16(x);
    SumPair sum{_mm256_madd_epi16(own, a0), _mm256_madd_epi16(own, _mm256_slli_epi32(a0, 16))};
    for (int k = 0; k < 5; k++) {
        const std::int16_t* past = x - 2 * (k + 1);
        sum.even = _mm256_add_epi32(sum.even, _mm256_madd_epi16(Load16(past), a[k]));
        sum.odd = _mm256_add_epi32(sum.odd, _mm256_madd_epi16(Load16(past + 1), a[k]));
    }
    return sum;
}

G729_VECTOR void Residual(const std::int16_t* a, const std::int16_t* x, std::int16_t* y) {
    const std::int64_t reach = SumOfMagnitudes(a) + (a[0] < 0 ? -a[0] : a[0]);
    if (reach * PeakWithHistory(x) >= SafeSum) return g729::Residual(a, x, y);
    const __m256i a0 = Pair(a[0], 0);
    const __m256i pairs[] = {Pair(a[2], a[1]), Pair(a[4], a[3]), Pair(a[6], a[5]), Pair(a[8], a[7]),
                             Pair(a[10], a[9])};
    for (const int at : OverlappingRows) {
        const SumPair sum = ResidualSums(pairs, a0, x + at);
        Store(y + at, Interleave(Rounded(sum.even), Rounded(sum.odd)));
    }
}

// 1/A(z) a sample at a time, so that several can advance in lockstep. The last three outputs, on which the
// next one waits, stay in integer registers; what older ones add to the following samples is summed in a
// vector.
class Recursion {
 public:
    // What is too long for registers, for at most 40 samples.
    struct Room {
        alignas(32) std::int32_t inputs[SubframeSamples];
        alignas(32) std::int32_t outputs[SubframeSamples];
    };

    // `count` samples, a multiple of 8, at x; memory[0..9] is the end of the last output, or null for
    // silence.
    [[gnu::always_inline]] inline Recursion(Room& room, const std::int16_t* a, const std::int16_t* x,
                                            const std::int16_t* memory, int count)
        : inputs(room.inputs), outputs(room.outputs), a1(a[1]), a2(a[2]), a3(a[3]) {
        const __m256i a0 = _mm256_set1_epi32(a[0]);
        const __m256i half = _mm256_set1_epi32(1 << (RoundingShift - 1));
        for (int n = 0; n < count; n += 8) {
            const __m256i own = _mm256_cvtepi16_epi32(Load8(x + n));
            Store(inputs + n, _mm256_add_epi32(_mm256_mullo_epi32(own, a0), half));
        }
        const __m256i from3 = _mm256_cvtepu16_epi32(Load8(a + 3));
        from4 = _mm256_permutevar8x32_epi32(_mm256_blend_epi32(from3, _mm256_setzero_si256(), 1),
                                            _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 0));
        older = _mm256_setzero_si256();
        y1 = y2 = y3 = 0;
        if (memory) Recall(memory);
    }

    template <int>
    [[gnu::always_inline]] inline void Step(int n) {
        auto sum = static_cast<std::uint32_t>(inputs[n]);
        sum -= static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm256_castsi256_si128(older)));
        Absorb(static_cast<int>(y3));
        sum -= a3 * y3;
        sum -= a2 * y2;
        asm("" : "+r"(sum));  // all but the newest output is summed by now: only the next line waits for that
        sum -= a1 * y1;
        y3 = y2;
        y2 = y1;
        y1 = static_cast<std::uint32_t>(static_cast<std::int32_t>(sum) >> RoundingShift);
        outputs[n] = static_cast<std::int32_t>(y1);
    }

 private:
    // Products with samples further back than three, each moved to where it belongs at once.
    [[gnu::always_inline]] inline void Recall(const std::int16_t* memory) {
        const __m256i places = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
        for (int n = 0; n < 7; n++) {
            const int distance = 6 - n;
            const __m256i late =
                _mm256_min_epi32(_mm256_add_epi32(places, _mm256_set1_epi32(distance)), _mm256_set1_epi32(7));
            const __m256i product =
                _mm256_madd_epi16(_mm256_permutevar8x32_epi32(from4, late), _mm256_set1_epi16(memory[n]));
            older = _mm256_add_epi32(older, product);
        }
        y3 = static_cast<std::uint32_t>(memory[7]);
        y2 = static_cast<std::uint32_t>(memory[8]);
        y1 = static_cast<std::uint32_t>(memory[9]);
    }

    [[gnu::always_inline]] inline void Absorb(int sample) {
        const __m256i next = _mm256_permutevar8x32_epi32(older, _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 7));
        older = _mm256_add_epi32(next, _mm256_madd_epi16(from4, _mm256_set1_epi32(sample)));
    }

    std::int32_t* inputs;
    std::int32_t* outputs;
    __m256i from4;  // a[4..10] in the lower halves, and a zero
    __m256i older;  // what outputs from four samples back take from the next eight sums; the last is zero
    std::uint32_t y1, y2, y3;
    std::uint32_t a1, a2, a3;
};

// Whether no sum of 1/A(z) can have been clipped with outputs and inputs up to these magnitudes.
G729_VECTOR bool IsSafe(const std::int16_t* a, std::int64_t outputPeak, std::int64_t inputPeak) {
    const std::int64_t own = inputPeak * (a[0] < 0 ? -a[0] : a[0]);
    return outputPeak <= Max16 && outputPeak * SumOfMagnitudes(a) + own < SafeSum;
}

// Packs the outputs of a recursion of `count` samples; false where a sum on the way might have been clipped.
G729_VECTOR bool Finish(const Recursion::Room& room, const std::int16_t* a, const std::int16_t* x,
                        const std::int16_t* memory, int count, std::int16_t* y) {
    __m256i peak = _mm256_abs_epi32(_mm256_cvtepi16_epi32(Load8(memory)));
    peak = _mm256_max_epi32(peak, _mm256_abs_epi32(_mm256_cvtepi16_epi32(Load8(memory + 2))));
    __m256i inputPeak = _mm256_setzero_si256();
    for (int n = 0; n < count; n += 8) {
        const __m256i output = Load8(room.outputs + n);
        peak = _mm256_max_epi32(peak, _mm256_abs_epi32(output));
        inputPeak = _mm256_max_epi32(inputPeak, _mm256_abs_epi32(_mm256_cvtepi16_epi32(Load8(x + n))));
        Store(y + n, _mm_packs_epi32(_mm256_castsi256_si128(output), _mm256_extracti128_si256(output, 1)));
    }
    return IsSafe(a, Largest32(peak), Largest32(inputPeak));
}

// From sample `from` to before `to`, a multiple of 4 apart.
template <typename... Recursions>
G729_VECTOR void RunTogether(int from, int to, Recursions&... recursions) {
    for (int n = from; n < to; n += 4) {
        (recursions.template Step<0>(n), ...);
        (recursions.template Step<1>(n + 1), ...);
        (recursions.template Step<2>(n + 2), ...);
        (recursions.template Step<3>(n + 3), ...);
    }
}

G729_VECTOR bool Synthesize(const std::int16_t* a, const std::int16_t* x, std::int16_t* y) {
    Recursion::Room room;
    Recursion recursion(room, a, x, y - Order, SubframeSamples);
    RunTogether(0, SubframeSamples, recursion);
    if (Finish(room, a, x, y - Order, SubframeSamples, y)) return false;
    return g729::Synthesize(a, x, y);
}

}  // namespace

}  // namespace g729::x86
