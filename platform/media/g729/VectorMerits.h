// Comparison of sets of pulses, eight side by side.
#pragma once

#include "platform/media/g729/Vector256.h"

namespace g729 {

namespace {

namespace pulses {

using V = Vector256;
using Words = V::Words;

// Sets of pulses side by side: the square of their gain in the lower half of a lane, their energy in the
// upper, and in which order they are tried.
struct Merits {
    G729_INLINE Merits(Words square, Words energy, Words order)
        : squareAndEnergy(V::Of(_mm256_blend_epi16(V::Raw(square), V::Raw(energy), 0b10101010))),
          order(order) {}
    G729_INLINE Merits(Words squareAndEnergy, Words order) : squareAndEnergy(squareAndEnergy), order(order) {}

    // Negative in lanes in which the other is better, zero where they are equal.
    G729_INLINE Words Against(const Merits& other) const {
        const __m256i exchange = _mm256_setr_epi8(2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13,  //
                                                  2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13);
        const __m256i exchanged = _mm256_shuffle_epi8(V::Raw(squareAndEnergy), exchange);
        const __m256i crossed = _mm256_sign_epi16(exchanged, _mm256_set1_epi32(0x0001FFFF));  // 1 and -1
        return V::Madd(other.squareAndEnergy, V::Of(crossed));
    }

    G729_INLINE Merits Replaced(const Merits& other, Words whereNegative) const {
        return {Blend(squareAndEnergy, other.squareAndEnergy, whereNegative),
                Blend(order, other.order, whereNegative)};
    }

    Words squareAndEnergy, order;

 private:
    G729_INLINE static Words Blend(Words no, Words yes, Words negative) {
        return V::Of(_mm256_castps_si256(_mm256_blendv_ps(_mm256_castsi256_ps(V::Raw(no)),
                                                          _mm256_castsi256_ps(V::Raw(yes)),
                                                          _mm256_castsi256_ps(V::Raw(negative)))));
    }
};

// In each lane the better of two; of equals the first, or the one that is tried first.
G729_INLINE Merits Better(const Merits& first, const Merits& second) {
    return first.Replaced(second, first.Against(second));
}

G729_INLINE Merits BetterInOrder(const Merits& a, const Merits& b) {
    const Words outcome = a.Against(b);
    return a.Replaced(b, outcome | ((outcome == 0) & (b.order < a.order)));
}

constexpr int Searches = 4;

// The best of the lanes of each of four.
class Winners {
 public:
    G729_INLINE explicit Winners(const Merits& a, const Merits& b, const Merits& c, const Merits& d) {
        const Merits halves = Halves(a, b);
        const Merits others = Halves(c, d);
        const Merits pairs = Pairs(halves, others);
        const Merits best =
            BetterInOrder(pairs, {Neighbours(pairs.squareAndEnergy), Neighbours(pairs.order)});
        V::Store(merits, best.squareAndEnergy);
        V::Store(orders, best.order);
    }

    G729_INLINE int Order(int search) const { return orders[Lane[search]]; }
    G729_INLINE int Square(int search) const { return merits[Lane[search]] & 0xFFFF; }
    G729_INLINE int Energy(int search) const { return merits[Lane[search]] >> 16; }

 private:
    static constexpr int Lane[Searches] = {0, 4, 2, 6};

    G729_INLINE static Merits Halves(const Merits& x, const Merits& y) {
        const auto first = [](Words a, Words b) {
            return V::Of(_mm256_permute2x128_si256(V::Raw(a), V::Raw(b), 0x20));
        };
        const auto second = [](Words a, Words b) {
            return V::Of(_mm256_permute2x128_si256(V::Raw(a), V::Raw(b), 0x31));
        };
        return BetterInOrder({first(x.squareAndEnergy, y.squareAndEnergy), first(x.order, y.order)},
                             {second(x.squareAndEnergy, y.squareAndEnergy), second(x.order, y.order)});
    }

    G729_INLINE static Merits Pairs(const Merits& x, const Merits& y) {
        const auto first = [](Words a, Words b) {
            return V::Of(_mm256_unpacklo_epi64(V::Raw(a), V::Raw(b)));
        };
        const auto second = [](Words a, Words b) {
            return V::Of(_mm256_unpackhi_epi64(V::Raw(a), V::Raw(b)));
        };
        return BetterInOrder({first(x.squareAndEnergy, y.squareAndEnergy), first(x.order, y.order)},
                             {second(x.squareAndEnergy, y.squareAndEnergy), second(x.order, y.order)});
    }

    G729_INLINE static Words Neighbours(Words x) {
        return V::Of(_mm256_shuffle_epi32(V::Raw(x), 0b10110001));
    }

    alignas(V::Bytes) std::int32_t merits[V::Lanes];
    alignas(V::Bytes) std::int32_t orders[V::Lanes];
};

}  // namespace pulses

}  // namespace

}  // namespace g729
