// Sums of products in vectors, for every V such as Vector256. A vector sum wraps and has an order of its own:
// it is exact where the true sum of all magnitudes fits 32 bits, which each kernel makes sure of
// (SumBounds.h).
#pragma once

#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/SumBounds.h"
#include "platform/media/g729/Tables.h"
#include "platform/media/g729/Vector256.h"

namespace g729 {

namespace {

// 40 samples: so many whole vectors and one of 128 bits.
template <class V>
constexpr int SubframeVectors = SubframeSamples / V::Halves;

constexpr int TailHalves = 8;
constexpr int LagWindow = 64;  // covers a subframe at ten lags
constexpr int SubframeTail = SubframeSamples - TailHalves;

// 0, 1, 2 ...
template <class V>
G729_INLINE typename V::Words Counting() {
    typename V::Words lanes = {};
    for (int i = 0; i < V::Lanes; i++) lanes[i] = i;
    return lanes;
}

// Of the sum of 40 products, in parts.
template <class V>
G729_INLINE typename V::Words Products(const std::int16_t* x, const std::int16_t* y) {
    typename V::Words sum = V::Madd(V::LoadTail(x + SubframeTail), V::LoadTail(y + SubframeTail));
    for (int i = 0; i < SubframeVectors<V>; i++) {
        sum += V::Madd(V::Load(x + i * V::Halves), V::Load(y + i * V::Halves));
    }
    return sum;
}

// Adds up squares in 64 bits.
template <class V>
class EnergySum {
 public:
    // Pairs of 16 bits, the squares of which need 32 without a sign.
    G729_INLINE void Add(typename V::Words x) {
        const auto squares = reinterpret_cast<typename V::Longs>(V::Madd(x, x));
        sum += (squares & 0xFFFFFFFF) + (squares >> 32);
    }

    G729_INLINE std::int64_t Total() const {
        std::uint64_t total = 0;
        for (int i = 0; i < V::Bytes / 8; i++) total += sum[i];
        return static_cast<std::int64_t>(total);
    }

 private:
    typename V::Longs sum = {};
};

// Of 40 samples.
template <class V>
G729_INLINE std::int64_t SubframeEnergy(const std::int16_t* x) {
    EnergySum<V> energy;
    energy.Add(V::LoadTail(x + SubframeTail));
    for (int i = 0; i < SubframeVectors<V>; i++) energy.Add(V::Load(x + i * V::Halves));
    return energy.Total();
}

template <class V>
std::int32_t Product(const std::int16_t* x, const std::int16_t* y, std::int32_t start, bool& clipped) {
    if (!SumsFit(SubframeEnergy<V>(x), SubframeEnergy<V>(y))) return reference::Product(x, y, start, clipped);
    return start + 2 * vector128::Sum(V::Fold(Products<V>(x, y)));
}

// Of the signal at `samples`, a whole number of vectors, as they are or quartered a few times: the windowed
// samples.
template <class V, int Count>
G729_INLINE std::int64_t QuarterUntilItFits(std::int16_t* samples) {
    for (;;) {
        EnergySum<V> energy;
        for (int i = 0; i < Count; i += V::Halves) energy.Add(V::Load(samples + i));
        const std::int64_t total = energy.Total();
        if (SumsFit(total)) return total;
        for (int i = 0; i < Count; i += V::Halves) {
            V::Store(samples + i, V::template ShiftHalvesRight<2>(V::Load(samples + i)));
        }
    }
}

template <class V>
void Autocorrelate(const std::int16_t* speech, std::int32_t* sums) {
    constexpr int Window = 240;
    constexpr int Padded = 256;
    constexpr int Last = Window - V::Halves;  // start of a vector that ends with the window
    alignas(V::Bytes) std::int16_t w[Padded + V::Halves] = {};
    for (int i = 0; i + V::Halves <= Window; i += V::Halves) {
        V::Store(w + i, V::MultR(V::Load(speech + i), V::Load(AnalysisWindow + i)));
    }
    if constexpr (Window % V::Halves != 0) {
        V::Store(w + Last, V::MultR(V::Load(speech + Last), V::Load(AnalysisWindow + Last)));
    }
    sums[0] = static_cast<std::int32_t>(2 * QuarterUntilItFits<V, Padded>(w) + 1);
    // No part of the other sums is larger than that of lag 0.
    constexpr int Group = 5;
    for (int first = 1; first <= Order; first += Group) {
        typename V::Words sum[Group] = {};
        for (int i = 0; i < Padded; i += V::Halves) {
            const auto x = V::Load(w + i);
            for (int k = 0; k < Group; k++) sum[k] += V::Madd(x, V::Load(w + i + first + k));
        }
        const __m128i four =
            vector128::Sums(V::Fold(sum[0]), V::Fold(sum[1]), V::Fold(sum[2]), V::Fold(sum[3]));
        vector128::Store(sums + first, _mm_slli_epi32(four, 1));
        sums[first + 4] = 2 * vector128::Sum(V::Fold(sum[4]));
    }
}

// Sums of products of `taps` with the signal at x, from each of consecutive places on: of even places from x,
// of odd ones from x + 1. `Taps` is even.
template <class V>
struct TwoSums {
    typename V::Words even = {};
    typename V::Words odd = {};

    template <int Taps>
    G729_INLINE void Add(const std::int16_t* taps, const std::int16_t* x) {
        for (int u = 0; u < Taps; u += 2) {
            const auto pair = V::SetPair(taps + u);
            even += V::Madd(pair, V::Load(x + u));
            odd += V::Madd(pair, V::Load(x + u + 1));
        }
    }
};

template <class V>
void FilterBackward(const std::int16_t* response, const std::int16_t* x, std::int16_t* result) {
    if (!SumsFit(SubframeEnergy<V>(response), SubframeEnergy<V>(x))) {
        reference::FilterBackward(response, x, result);
        return;
    }
    constexpr int Parts = (SubframeSamples + V::Halves - 1) / V::Halves;
    std::int16_t padded[2 * SubframeSamples + V::Halves] = {};
    std::memcpy(padded, x, SubframeSamples * sizeof *x);
    TwoSums<V> sums[Parts];
    sums[0].template Add<SubframeSamples>(response, padded);
    if constexpr (Parts == 3) sums[1].template Add<SubframeSamples - V::Halves>(response, padded + V::Halves);
    sums[Parts - 1].template Add<TailHalves>(response, padded + SubframeTail);
    typename V::Words largest = {};
    for (const TwoSums<V>& part : sums)
        largest = V::Max(largest, V::Max(V::Abs(part.even), V::Abs(part.odd)));
    const int norm = NormL(2 * vector128::Max(V::FoldMax(largest)));
    const int shift = 17 - (norm < 16 ? norm : 16);
    std::int16_t shifted[Parts * V::Halves];
    for (int i = 0; i < Parts; i++) {
        const auto even = V::ShiftRight(sums[i].even, shift) & 0xFFFF;
        V::Store(shifted + i * V::Halves, even | V::ShiftRight(sums[i].odd, shift) << 16);
    }
    std::memcpy(result, shifted, SubframeSamples * sizeof *result);
}

// The last place in order at which two interleaved rows of eight, of which `count` are valid, have their
// maximum.
G729_INLINE int LastMaximum(Vector256::Words even, Vector256::Words odd, int count) {
    using V = Vector256;
    constexpr V::Words Places = {0, 2, 4, 6, 8, 10, 12, 14};
    const V::Words nothing = V::Set(Min32);
    even = Places < count ? even : nothing;
    odd = Places + 1 < count ? odd : nothing;
    const V::Words largest = V::Set(vector128::Max(V::FoldMax(V::Max(even, odd))));
    const std::uint32_t inEven = V::Mask((even == largest) & (Places < count));
    const std::uint32_t inOdd = V::Mask((odd == largest) & (Places + 1 < count));
    // One place for every two bits; with a bit set below those of the vectors, zero bits count as none.
    const auto last = [](std::uint32_t mask) { return 62 - 2 * __builtin_clz(mask << 1 | 1) - 2; };
    const int lastEven = last(inEven);
    const int lastOdd = last(inOdd) + 1;
    return lastEven > lastOdd ? lastEven : lastOdd;
}

template <class V>
int BestLag(const std::int16_t* wanted, const std::int16_t* excitation, int min, int max) {
    const std::int16_t* past = excitation - max;
    EnergySum<V> energy;
    for (int i = 0; i < LagWindow; i += V::Halves) energy.Add(V::Load(past + i));
    if (!SumsFit(SubframeEnergy<V>(wanted), energy.Total()))
        return reference::BestLag(wanted, excitation, min, max);
    TwoSums<Vector256> sums;
    sums.Add<SubframeSamples>(wanted, past);
    return max - LastMaximum(sums.even, sums.odd, max - min + 1);
}

}  // namespace

}  // namespace g729
