// Pulse search of the fixed codebook in vectors: the eight positions of a track side by side.
//
// No sum of the standard's search can clip: correlations are of 16 bits, and with the factors of the search
// (1/4, 1/8, 1/16) even the largest of them stay below 32 bits. What remains is small whole numbers, of which
// the factors are powers of two.
#pragma once

#include "platform/media/g729/VectorMerits.h"
#include "platform/media/g729/VectorTracks.h"

namespace g729 {

namespace {

namespace pulses {

// The four searches go forward together, a stage at a time.
class Search {
 public:
    // False when the search is not for vectors.
    G729_INLINE bool Prepare(const std::int16_t* response, const std::int16_t* wanted) {
        __m128i parts[Tracks];
        for (int i = 0; i < Tracks; i++) {
            parts[i] = vector128::Load(wanted + i * TrackSize);
            const Words values = V::LoadWidened(wanted + i * TrackSize);
            V::Store(gainAt + i * TrackSize, V::Abs(values));
            V::Store(signAt + i * TrackSize, values >> 31 << 16);
        }
        const Gathered gathered(parts);
        Words largest = {};
        for (int track = 0; track < Tracks; track++) {
            const Words values = gathered.Widened(track);
            gain[track] = V::Abs(values);
            largest = V::Max(largest, gain[track]);
            factor[track] = (values >> 31 << 16) ^ (Max16 << 16);
            missing[track] = _mm_sub_epi16(_mm_set1_epi16(Max16), _mm_abs_epi16(gathered.track[track]));
        }
        constexpr int LargestGain = 8191;  // of four the sum fits 16 bits
        return V::Mask(largest > LargestGain) == 0 && correlations.Compute(response);
    }

    // Where the pulses of tracks 0 to 3 are. False when the outcome depends on the order of all comparisons,
    // since an energy is not positive.
    G729_INLINE bool Run(int* positions) {
        const Winners pairs = FirstPairs();
        int a[Searches];
        int b[Searches];
        for (int i = 0; i < Searches; i++) {
            const int order = pairs.Order(i);
            a[i] = order < TrackSize ? candidates[i].first : candidates[i].second;
            b[i] = order % TrackSize * Tracks + Plans[i].b;
        }
        Words between[2][TrackSize];
#pragma GCC unroll 8
        for (int m = 0; m < TrackSize; m++) {
            between[0][m] = 2 * Between(m * Tracks, 1);
            between[1][m] = 2 * Between(m * Tracks + 1, 2);
        }
        const Winners whole(SecondPair<0>(a[0], b[0], pairs.Energy(0), between[0]),
                            SecondPair<1>(a[1], b[1], pairs.Energy(1), between[1]),
                            SecondPair<2>(a[2], b[2], pairs.Energy(2), between[0]),
                            SecondPair<3>(a[3], b[3], pairs.Energy(3), between[1]));
        int best = 0;
        for (int i = 1; i < Searches; i++) {
            if (whole.Square(i) * whole.Energy(best) > whole.Square(best) * whole.Energy(i)) best = i;
        }
        const Plan& plan = Plans[best];
        positions[plan.b == 0 ? 3 : 2] = a[best];
        positions[plan.b == 0 ? 0 : 3] = b[best];
        positions[plan.m] = whole.Order(best) / TrackSize * Tracks + plan.m;
        positions[plan.k] = whole.Order(best) % TrackSize * Tracks + plan.k;
        return V::Mask(least < 1 << 16) == 0;
    }

 private:
    // Tracks in which a search has its pulses.
    struct Plan {
        int a, b;  // of the first pair, of which a has the two best positions only
        int m, k;  // of the second
    };
    static constexpr Plan Plans[Searches] = {{2, 3, 0, 1}, {3, 0, 1, 2}, {2, 4, 0, 1}, {4, 0, 1, 2}};

    // The positions of a track with the largest gains, the first of equals first.
    struct Two {
        int first, second;
    };

    // Correlations of p with a track's positions, with the signs of the pulses, by the standard's factors of
    // 32767 and -32768.
    G729_INLINE Words Between(int p, int track) const {
        return V::Madd(correlations.Row(p, track), factor[track] ^ V::Set(signAt[p])) >> 15;
    }

    // Energies by a factor of 2^`Shift` become the upper half of a merit; none may be negative or zero.
    template <int Shift>
    G729_INLINE Merits Rate(Words gains, Words energies, int firstOrder) {
        const Merits merits(V::Madd(gains, gains) >> 15, energies << (16 - Shift),
                            Counting<V>() + firstOrder);
        least = V::Min(least, merits.squareAndEnergy);
        return merits;
    }

    G729_INLINE Two Largest(int track) const {
        const int first = _mm_extract_epi16(_mm_minpos_epu16(missing[track]), 1);
        const __m128i places = _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7);
        const __m128i isFirst = _mm_cmpeq_epi16(places, _mm_set1_epi16(static_cast<std::int16_t>(first)));
        const int second = _mm_extract_epi16(_mm_minpos_epu16(_mm_or_si128(missing[track], isFirst)), 1);
        return {first * Tracks + track, second * Tracks + track};
    }

    template <int Search>
    G729_INLINE Merits Pairs(int a, int order) {
        constexpr int Track = Plans[Search].b;
        const ByTrack& energies = correlations.energies;
        const Words energy = V::Set(energies[a]) + 2 * Between(a, Track) + energies.Of(Track) + 2;
        return Rate<2>(gain[Track] + V::Set(gainAt[a]), energy, order);
    }

    template <int Search>
    G729_INLINE Merits FirstPair() {
        candidates[Search] = Largest(Plans[Search].a);
        return Better(Pairs<Search>(candidates[Search].first, 0),
                      Pairs<Search>(candidates[Search].second, TrackSize));
    }

    G729_INLINE Winners FirstPairs() {
        return Winners(FirstPair<0>(), FirstPair<1>(), FirstPair<2>(), FirstPair<3>());
    }

    template <int Search>
    G729_INLINE Merits SecondPair(int a, int b, int energy, const Words (&between)[TrackSize]) {
        constexpr Plan Tracks = Plans[Search];
        const ByTrack& energies = correlations.energies;
        const Words toK = 2 * (Between(a, Tracks.k) + Between(b, Tracks.k)) + energies.Of(Tracks.k);
        const Words ofK = ((toK + 4) >> 3 << 3) + 8;
        const Words toM = 2 * (Between(a, Tracks.m) + Between(b, Tracks.m)) + energies.Of(Tracks.m);
        alignas(V::Bytes) std::int32_t ofM[TrackSize];
        alignas(V::Bytes) std::int32_t gainOfM[TrackSize];
        V::Store(ofM, toM + V::Set(4 * energy));
        V::Store(gainOfM, gain[Tracks.m] + V::Set(gainAt[a]) + V::Set(gainAt[b]));
        const auto row = [&](int m) __attribute__((always_inline)) {
            return Rate<4>(gain[Tracks.k] + V::Set(gainOfM[m]), ofK + between[m] + V::Set(ofM[m]),
                           m * TrackSize);
        };
        return Better(Better(Better(row(0), row(1)), Better(row(2), row(3))),
                      Better(Better(row(4), row(5)), Better(row(6), row(7))));
    }

    Words gain[Tracks];       // of pulses in the better sign
    Words factor[Tracks];     // 32767 or, where that is the negative one, -32768 in the upper half
    __m128i missing[Tracks];  // gains subtracted from the largest number
    alignas(V::Bytes) std::int32_t gainAt[SubframeSamples];  // by position
    alignas(V::Bytes) std::int32_t signAt[SubframeSamples];  // by position; exchanges the factors if negative
    Correlations correlations;
    Two candidates[Searches];
    Words least = V::Set(Max32);
};

}  // namespace pulses

void SearchPulses(const std::int16_t* response, const std::int16_t* wanted, int* positions) {
    pulses::Search search;
    if (search.Prepare(response, wanted) && search.Run(positions)) return;
    reference::SearchPulses(response, wanted, positions);
}

}  // namespace

}  // namespace g729
