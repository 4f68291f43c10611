// Open-loop correlations in vectors: all lags side by side.
#pragma once

#include "platform/media/g729/VectorSums.h"

namespace g729 {

namespace {

// The signal with which the open loop works, -143..79, taken apart: `odd` from -143 and `even` from -142 on,
// scaled to the level that the sums need. Zeros behind.
template <class V>
class SplitSignal {
 public:
    static constexpr int Size = 128;
    static constexpr int Current = 71;  // sample 0 in `even`
    static constexpr int Samples = FrameSamples / 2;

    G729_INLINE explicit SplitSignal(const std::int16_t* speech) {
        constexpr int Loads = 2 * V::Halves;
        constexpr int Count = MaxLag + FrameSamples + 1;  // and one behind the last
        std::int16_t copy[2 * Size] = {};
        std::memcpy(copy, speech - MaxLag, (Count - 1) * sizeof *copy);
        EnergySum<V> energy;
        for (int i = 0; i < 2 * Size; i += Loads) {
            const auto first = V::Load(copy + i);
            const auto second = V::Load(copy + i + V::Halves);
            const auto ofOdd = V::Pack(first << 16 >> 16, second << 16 >> 16);
            energy.Add(ofOdd);
            V::Store(odd + i / 2, ofOdd);
            V::Store(even + i / 2, V::Pack(first >> 16, second >> 16));
        }
        Scale(energy.Total());
    }

    // Whether no sum of products can clip.
    G729_INLINE bool Fits() const { return SumsFit(EnergyOf(even)) && SumsFit(EnergyOf(odd)); }

    alignas(V::Bytes) std::int16_t odd[Size + 2 * V::Halves] = {};
    alignas(V::Bytes) std::int16_t even[Size + 2 * V::Halves] = {};

 private:
    G729_INLINE static std::int64_t EnergyOf(const std::int16_t* x) {
        EnergySum<V> energy;
        for (int i = 0; i < Size; i += V::Halves) energy.Add(V::Load(x + i));
        return energy.Total();
    }

    // The standard clips a sum of doubled squares and looks whether it did.
    G729_INLINE void Scale(std::int64_t energy) {
        if (!SumsFit(energy)) {
            Transform([](auto x) { return V::template ShiftHalvesRight<3>(x); });
        } else if (2 * energy < 1 << 20) {
            Transform([](auto x) {
                const auto twice = V::AddHalves(x, x);
                const auto fourTimes = V::AddHalves(twice, twice);
                return V::AddHalves(fourTimes, fourTimes);
            });
        }
    }

    template <class Operation>
    G729_INLINE void Transform(Operation operation) {
        for (int i = 0; i < Size; i += V::Halves) {
            V::Store(odd + i, operation(V::Load(odd + i)));
            V::Store(even + i, operation(V::Load(even + i)));
        }
    }
};

// Correlations at many lags, in four rows. Place i of them has the lags 142 - 4i, 140 - 4i, 143 - 4i and 141
// - 4i; the last two rows, odd lags, only in their upper half.
template <class V>
struct LagRows {
    static constexpr int Rows = 4;
    static constexpr int Places = 32;
    static constexpr int Vectors = Places / V::Lanes;
    static constexpr int Offsets[Rows] = {142, 140, 143, 141};

    G729_INLINE explicit LagRows(const SplitSignal<V>& signal) {
        for (int u = 0; u < SplitSignal<V>::Samples; u += 2) {
            const auto pair = V::SetPair(signal.even + SplitSignal<V>::Current + u);
            for (int v = 0; v < Vectors; v++) {
                const int at = u + v * V::Halves;
                row[0][v] += V::Madd(pair, V::Load(signal.even + at));
                row[1][v] += V::Madd(pair, V::Load(signal.even + at + 1));
                if (2 * v < Vectors) continue;
                row[2][v] += V::Madd(pair, V::Load(signal.odd + at));
                row[3][v] += V::Madd(pair, V::Load(signal.odd + at + 1));
            }
        }
    }

    // The largest at places `First` to `Last` of the first `Used` rows, at the least lag that has it.
    template <int First, int Last, int Used>
    G729_INLINE LagCorrelation Best() const {
        auto largest = V::Set(Min32);
        for (int r = 0; r < Used; r++) {
            for (int v = First / V::Lanes; v <= Last / V::Lanes; v++) {
                largest = V::Max(largest, Valid<First, Last>(v) ? row[r][v] : largest);
            }
        }
        const std::int32_t maximum = vector128::Max(V::FoldMax(largest));
        int lag = MaxLag;
        for (int r = 0; r < Used; r++) {
            std::uint32_t found = 0;
            for (int v = First / V::Lanes; v <= Last / V::Lanes; v++) {
                found |= V::Mask((row[r][v] == maximum) & Valid<First, Last>(v)) << (v * V::Lanes);
            }
            if (found == 0) continue;
            const int candidate = Offsets[r] - 4 * (31 - __builtin_clz(found));
            lag = candidate < lag ? candidate : lag;
        }
        return {lag, 2 * maximum, 0};
    }

    typename V::Words row[Rows][Vectors] = {};

 private:
    template <int First, int Last>
    G729_INLINE static typename V::Words Valid(int v) {
        const auto place = Counting<V>() + v * V::Lanes;
        return (place >= First) & (place <= Last);
    }
};

// Where the samples of a subframe's worth of places lie, `lag` earlier.
template <class V>
G729_INLINE const std::int16_t* At(const SplitSignal<V>& signal, int lag) {
    return (lag % 2 == 0 ? signal.even : signal.odd) + SplitSignal<V>::Current - lag / 2;
}

template <class V>
void CorrelateLags(const std::int16_t* speech, LagCorrelation* sections) {
    const SplitSignal<V> signal(speech);
    if (!signal.Fits()) {
        reference::CorrelateLags(speech, sections);
        return;
    }
    const LagRows<V> rows(signal);
    sections[0] = rows.template Best<26, 30, 4>();
    sections[1] = rows.template Best<16, 25, 4>();
    sections[2] = rows.template Best<0, 15, 2>();
    const int coarse = sections[2].lag;
    const std::int16_t* current = signal.even + SplitSignal<V>::Current;
    for (const int lag : {coarse + 1, coarse - 1}) {
        const std::int32_t sum = 2 * vector128::Sum(V::Fold(Products<V>(current, At(signal, lag))));
        if (sum > sections[2].correlation) sections[2] = {lag, sum, 0};
    }
    for (int i = 0; i < LagSections; i++) {
        const std::int16_t* past = At(signal, sections[i].lag);
        sections[i].energy = 1 + 2 * vector128::Sum(V::Fold(Products<V>(past, past)));
    }
}

}  // namespace

}  // namespace g729
