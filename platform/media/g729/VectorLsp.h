// Nearest entries of the LSP codebooks in vectors. Distances are sums of products that cannot be negative, so
// that the clipping sum of the standard is the true one or the limit, whatever the order of terms.
#pragma once

#include "platform/media/g729/LspPairs.h"
#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/VectorSums.h"

namespace g729 {

namespace {

// Half of the limit, since the sums are doubled at the end.
constexpr std::int32_t DistanceLimit = 1 << 30;

// The first of the least of `Entries` distances.
template <class V, int Entries>
G729_INLINE std::uint8_t Nearest(const typename V::Words (&distances)[Entries / V::Lanes]) {
    constexpr int Vectors = Entries / V::Lanes;
    constexpr int MaskVectors = 64 / V::Lanes;
    auto least = distances[0];
    for (int i = 1; i < Vectors; i++) least = V::Min(least, distances[i]);
    const std::int32_t minimum = -vector128::Max(V::FoldMax(-least));
    for (int from = 0; from < Vectors; from += MaskVectors) {
        std::uint64_t found = 0;
        for (int i = from; i < Vectors && i < from + MaskVectors; i++) {
            found |= std::uint64_t{V::Mask(distances[i] == minimum)} << ((i - from) * V::Lanes);
        }
        if (found != 0) return static_cast<std::uint8_t>(from * V::Lanes + __builtin_ctzll(found));
    }
    return 0;
}

// Adds products to a distance, of which both are at most 2^31 and 2^30.
template <class V>
G729_INLINE typename V::Words AddDistance(typename V::Words distance, typename V::Words x,
                                          typename V::Words y) {
    using Unsigned [[gnu::vector_size(V::Bytes)]] = std::uint32_t;
    const Unsigned sum = reinterpret_cast<Unsigned>(distance) + reinterpret_cast<Unsigned>(V::Madd(x, y));
    return V::MinUnsigned(reinterpret_cast<typename V::Words>(sum), V::Set(DistanceLimit));
}

// Ten values of 16 bits in pairs.
G729_INLINE __m256i LoadPairs(const std::int16_t* p) {
    std::int32_t last;
    std::memcpy(&last, p + 8, sizeof last);
    return _mm256_set_m128i(_mm_cvtsi32_si128(last), vector128::Load(p));
}

template <class V>
G729_INLINE std::uint8_t NearestFirst(__m256i target) {
    typename V::Words pairs[LspPairs];
    for (int p = 0; p < LspPairs; p++) pairs[p] = V::SetLane(target, p);
    typename V::Words distances[LspFirstEntries / V::Lanes];
    for (int i = 0; i < LspFirstEntries / V::Lanes; i++) {
        typename V::Words distance = {};
        for (int p = 0; p < LspPairs; p++) {
            const auto difference = V::SubHalves(pairs[p], V::Load(LspFirstTable.pairs[p][i * V::Lanes]));
            distance = AddDistance<V>(distance, difference, difference);
        }
        distances[i] = distance;
    }
    return Nearest<V, LspFirstEntries>(distances);
}

// Products shifted by 15; weights are not negative, so that none clips.
template <class V>
G729_INLINE typename V::Words Mult(typename V::Words weights, typename V::Words x) {
    return V::template ShiftHalvesLeft<1>(V::MultHigh(weights, x)) |
           V::template ShiftHalvesDown<15>(V::MultLow(weights, x));
}

// In three pairs from `First` on: the five values of one half and a neighbour in the pair `Shared`, which is
// in the bits `Foreign`. Without weight it makes no difference.
template <class V, int First, int Shared, std::int32_t Foreign>
G729_INLINE std::uint8_t NearestHalf(const LspHalfTable& codebook, __m256i target, __m256i weights) {
    typename V::Words pairs[LspHalfPairCount];
    typename V::Words factors[LspHalfPairCount];
    for (int p = 0; p < LspHalfPairCount; p++) {
        pairs[p] = V::SetLane(target, First + p);
        factors[p] = V::SetLane(weights, First + p);
    }
    factors[Shared] &= ~Foreign;
    typename V::Words distances[LspSecondEntries / V::Lanes];
    for (int i = 0; i < LspSecondEntries / V::Lanes; i++) {
        typename V::Words distance = {};
        for (int p = 0; p < LspHalfPairCount; p++) {
            const auto difference = V::SubHalves(pairs[p], V::Load(codebook.pairs[p][i * V::Lanes]));
            distance = AddDistance<V>(distance, Mult<V>(factors[p], difference), difference);
        }
        distances[i] = distance;
    }
    return Nearest<V, LspSecondEntries>(distances);
}

template <class V>
void SearchLsp(const std::int16_t* target, const std::int16_t* weights, LspIndices& found) {
    constexpr std::int32_t Lower = 0xFFFF;
    const __m256i pairs = LoadPairs(target);
    const __m256i factors = LoadPairs(weights);
    found.first = NearestFirst<V>(pairs);
    const __m256i rest = _mm256_subs_epi16(pairs, LoadPairs(LspCodebook1[found.first]));
    found.low = NearestHalf<V, 0, LspHalfPairCount - 1, ~Lower>(LspSecondTables[0], rest, factors);
    found.high = NearestHalf<V, LspPairs - LspHalfPairCount, 0, Lower>(LspSecondTables[1], rest, factors);
}

}  // namespace

}  // namespace g729
