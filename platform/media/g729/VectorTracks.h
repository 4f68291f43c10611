// Signals by the tracks of the fixed codebook, the eight positions of a track side by side, and what the
// impulse response to a pulse at one position has in common with that at another.
#pragma once

#include <utility>

#include "platform/media/g729/VectorSums.h"

namespace g729 {

namespace {

namespace pulses {

using V = Vector256;
using Words = V::Words;

constexpr int Tracks = 5;
constexpr int TrackSize = 8;

// A signal by tracks: sample p at [p % 5][p / 5].
struct ByTrack {
    G729_INLINE Words Of(int track) const { return V::Load(at[track]); }
    G729_INLINE void Set(int track, Words values) { V::Store(at[track], values); }
    G729_INLINE std::int32_t operator[](int p) const { return at[p % Tracks][p / Tracks]; }

    alignas(V::Bytes) std::int32_t at[Tracks][TrackSize];
};

// Puts 40 samples of 16 bits in the order of their tracks. The eight positions of a track have eight
// different places in the five vectors of eight that the samples are: a track is blended from them and its
// places exchanged.
template <int Track>
G729_INLINE __m128i Gather(const __m128i (&x)[Tracks]) {
    constexpr auto Chosen = [](int vector) {
        int mask = 0;
        for (int i = 0; i < TrackSize; i++) {
            const int p = Track + Tracks * i;
            if (p / TrackSize == vector) mask |= 1 << p % TrackSize;
        }
        return mask;
    };
    constexpr auto Place = [](int byte) {
        return static_cast<char>((Track + Tracks * (byte / 2)) % TrackSize * 2 + byte % 2);
    };
    constexpr int From1 = Chosen(1), From2 = Chosen(2), From3 = Chosen(3), From4 = Chosen(4);
    __m128i track = _mm_blend_epi16(x[0], x[1], From1);
    track = _mm_blend_epi16(track, x[2], From2);
    track = _mm_blend_epi16(track, x[3], From3);
    track = _mm_blend_epi16(track, x[4], From4);
    return _mm_shuffle_epi8(track, _mm_setr_epi8(Place(0), Place(1), Place(2), Place(3), Place(4), Place(5),
                                                 Place(6), Place(7), Place(8), Place(9), Place(10), Place(11),
                                                 Place(12), Place(13), Place(14), Place(15)));
}

struct Gathered {
    G729_INLINE explicit Gathered(const __m128i (&x)[Tracks])
        : track{Gather<0>(x), Gather<1>(x), Gather<2>(x), Gather<3>(x), Gather<4>(x)} {}

    G729_INLINE Words Widened(int t) const { return V::Of(_mm256_cvtepi16_epi32(track[t])); }

    __m128i track[Tracks];
};

// Correlations of the impulse response with itself at two positions; rows are by track.
class Correlations {
 public:
    // False when a sum might clip.
    G729_INLINE bool Compute(const std::int16_t* response) {
        const std::int64_t energy = 2 * SubframeEnergy<V>(response);
        constexpr std::int64_t Loudest = 32001LL << 16;
        if (energy >= Loudest) return false;
        const __m128i shift = _mm_cvtsi32_si128(NormL(static_cast<std::int32_t>(energy)) >> 1);
        alignas(V::Bytes) std::int16_t h[SubframeSamples];
        __m128i backward[Tracks];
        for (int i = 0; i < Tracks; i++) {
            const __m128i part = _mm_sll_epi16(vector128::Load(response + i * TrackSize), shift);
            vector128::Store(h + i * TrackSize, part);
            const __m128i reverse = _mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
            backward[Tracks - 1 - i] = _mm_shuffle_epi8(part, reverse);
        }
        Fill(h, Gathered(backward), std::make_integer_sequence<int, SubframeSamples>());
        return true;
    }

    // In the upper halves, of position p with all positions of the track, for the pairs of tracks that are
    // needed.
    G729_INLINE Words Row(int p, int track) const { return V::Load(rows[p][track]); }

    // Of each position with itself.
    ByTrack energies;

 private:
    static constexpr bool IsNeeded(int track, int with) {
        constexpr bool Needed[Tracks][Tracks] = {{false, true, true, false, false},
                                                 {false, false, true, false, false},
                                                 {true, true, false, true, true},
                                                 {true, true, true, false, false},
                                                 {true, true, true, false, false}};
        return Needed[track][with];
    }

    // Later positions come first, since their sums are the shorter ones: the sum of two positions is that of
    // the two next positions, and a product more. The next position of a track is in the next track; that of
    // the last track in the first, one place on.
    template <int... FromEnd>
    G729_INLINE void Fill(const std::int16_t* h, const Gathered& backward,
                          std::integer_sequence<int, FromEnd...>) {
        Words pairs[Tracks];
        for (int track = 0; track < Tracks; track++) {
            const Words narrow = backward.Widened(track) & 0xFFFF;
            pairs[track] = narrow | narrow << 16;
        }
        Words sum[Tracks] = {};
        Words own[Tracks] = {};
        (FillRow<SubframeSamples - 1 - FromEnd>(h[FromEnd], pairs, sum, own), ...);
        for (int track = 0; track < Tracks; track++) energies.Set(track, own[track] >> 16);
    }

    template <int P>
    G729_INLINE void FillRow(std::int16_t h, const Words (&pairs)[Tracks], Words (&sum)[Tracks],
                             Words (&own)[Tracks]) {
        const Words factor = V::SetHalves(h);
        const Words behindLast =
            V::Of(_mm256_permutevar8x32_epi32(_mm256_blend_epi32(V::Raw(sum[0]), _mm256_setzero_si256(), 1),
                                              _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 0)));
        for (int track = 0; track < Tracks; track++) {
            sum[track] = (track == Tracks - 1 ? behindLast : sum[track + 1]) + V::Madd(pairs[track], factor);
            if (IsNeeded(P % Tracks, track)) V::Store(rows[P][track], sum[track]);
        }
        constexpr int Own = P % Tracks;
        own[Own] = V::Of(_mm256_blend_epi32(V::Raw(own[Own]), V::Raw(sum[Own]), 1 << P / Tracks));
    }

    alignas(V::Bytes) std::int32_t rows[SubframeSamples][Tracks][TrackSize];
};

}  // namespace pulses

}  // namespace

}  // namespace g729
