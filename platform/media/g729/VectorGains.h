// Search in the gain codebooks in vectors: the eight candidates of the second codebook side by side.
#pragma once

#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/Tables.h"
#include "platform/media/g729/Vector256.h"

namespace g729 {

namespace {

namespace gains {

using V = Vector256;
using Words = V::Words;

constexpr int Candidates1 = 4;
constexpr int Candidates2 = 8;
constexpr int TamedLimit = 16383;  // Q14

// A product as of the double precision format, and whether adding it to `sum` would clip.
G729_INLINE Words AddProduct(Words sum, Dpf x, Words n, Words& clipped) {
    const Words product = 2 * (x.hi * n + ((x.lo * n) >> 15));
    const Words total = sum + product;
    clipped |= (total ^ sum) & (total ^ product);
    return total;
}

G729_INLINE Words Square(Words x, Words y) {
    return (x * y) >> 15;
}

G729_INLINE Words Errors(const GainSearch& search, Words pitch, Words code, Words& clipped) {
    Words error = AddProduct(Words{}, search.terms[0], Square(pitch, pitch), clipped);
    error = AddProduct(error, search.terms[1], pitch, clipped);
    error = AddProduct(error, search.terms[2], Square(code, code), clipped);
    error = AddProduct(error, search.terms[3], code, clipped);
    return AddProduct(error, search.terms[4], Square(code, pitch), clipped);
}

// One of the two columns of the second codebook's candidates.
G729_INLINE Words Column(int first, int column) {
    const Words pairs = V::Load(GainCodebook2[first]);
    return column == 0 ? pairs << 16 >> 16 : pairs >> 16;
}

}  // namespace gains

// Neither the gains nor their products clip: no code gain correction exceeds 20719, no pitch gain 22215.
GainChoice SearchGains(const GainSearch& search) {
    using namespace gains;
    const Words pitch2 = Column(search.first2, 0);
    const Words code2 = Column(search.first2, 1);
    Words least = V::Set(Max32);
    Words entry = {};
    Words clipped = {};
    for (int i = 0; i < Candidates1; i++) {
        const std::int16_t* one = GainCodebook1[search.first1 + i];
        const Words pitch = pitch2 + one[0];
        const Words code = Square((code2 + one[1]) >> 1, V::Set(search.predicted));
        Words error = Errors(search, pitch, code, clipped);
        if (search.tamed) error = pitch >= TamedLimit ? V::Set(Max32) : error;
        entry = error < least ? V::Set(i * Candidates2) : entry;
        least = V::Min(error, least);
    }
    if (V::Mask(clipped < 0) != 0) return reference::SearchGains(search);
    constexpr Words Places = {0, 1, 2, 3, 4, 5, 6, 7};
    entry += Places;
    const Words best = V::Set(~vector128::Max(V::FoldMax(~least)));
    const int order = -vector128::Max(V::FoldMax(least == best ? -entry : V::Set(Min32)));
    return {search.first1 + order / Candidates2, search.first2 + order % Candidates2};
}

}  // namespace

}  // namespace g729
