// Root search in vectors: both polynomials at all points of the grid side by side.
//
// The recursion of the standard works on numbers of 32 bits that are multiples of 4 as long as nothing clips:
// here they are divided by 4, so that nothing can overflow, and whether the standard would have clipped is
// noted.
#pragma once

#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/RootSearch.h"
#include "platform/media/g729/VectorSums.h"

namespace g729 {

namespace {

namespace roots {

// The polynomial of `f` at x, for vectors and for single numbers of 64 bits.
struct Polynomial {
    G729_INLINE Polynomial(const std::int16_t* f, bool coarse) : coarse(coarse) {
        for (int i = 1; i <= RootPolynomials::Degree; i++) term[i] = f[i] * 2048;
    }

    // Whether nothing clips before the last shift for any x. Chebyshev polynomials of degree k do not exceed
    // k + 1 between -1 and 1: this bounds the numbers of the recursion, the last but one of which is doubled.
    G729_INLINE bool IsModest() const {
        constexpr std::int32_t Limit = (1 << 29) - (1 << 20);
        const std::int32_t one = coarse ? 1 << 21 : 1 << 22;
        const std::int32_t f1 = Magnitude(1), f2 = Magnitude(2), f3 = Magnitude(3), f4 = Magnitude(4);
        return 2 * (4 * one + 3 * f1 + 2 * f2 + f3) < Limit &&
               5 * one + 4 * f1 + 3 * f2 + 2 * f3 + 2 * f4 < Limit;
    }

    template <typename Number, typename Product>
    G729_INLINE Number At(Number x, Product product) const {
        Number b2 = Number{} + (coarse ? 1 << 21 : 1 << 22);
        Number b1 = x * (coarse ? 128 : 256) + term[1];
        for (int i = 2; i < RootPolynomials::Degree; i++) {
            const Number next = product(b1, x) - b2 + term[i];
            b2 = b1;
            b1 = next;
        }
        return (product(b1, x) - 2 * b2 + term[RootPolynomials::Degree]) >> (coarse ? 8 : 9);
    }

    std::int32_t term[RootPolynomials::Degree + 1];
    bool coarse;

 private:
    G729_INLINE std::int32_t Magnitude(int i) const { return term[i] < 0 ? -term[i] : term[i]; }
};

template <class V>
struct Grid {
    static constexpr int Points = ::g729::roots::GridPoints + 1;

    G729_INLINE explicit Grid(const Polynomial& polynomial) {
        const auto product = [](auto b, auto x) { return (b >> 14) * x + (((b & 0x3FFF) * x) >> 14); };
        for (int from = 0; from < Points; from += V::Lanes) {
            const int at = from + V::Lanes <= Points ? from : Points - V::Lanes;
            const auto values = polynomial.At(V::LoadWidened(RootGrid + at), product);
            V::Store(y + at, V::Max(V::Min(values, V::Set(Max16)), V::Set(Min16)));
        }
        for (int from = 1; from < Points; from += V::Lanes) {
            const int at = from + V::Lanes <= Points ? from : Points - V::Lanes;
            const std::uint64_t found = V::Mask(V::Load(y + at) * V::Load(y + at - 1) <= 0);
            crossings |= found << at;
        }
    }

    std::int32_t y[Points];
    std::uint64_t crossings = 0;  // bit j: between points j - 1 and j
};

struct Point {
    std::int64_t x, y;
};

G729_INLINE std::int64_t At(const Polynomial& polynomial, std::int64_t x) {
    const auto product = [](std::int64_t b, std::int64_t at) { return (b * at) >> 14; };
    const std::int64_t y = polynomial.At(x, product);
    return y > Max16 ? Max16 : y < Min16 ? Min16 : y;
}

G729_INLINE ::g729::roots::Point Narrow(Point p) {
    return {static_cast<std::int16_t>(p.x), static_cast<std::int16_t>(p.y)};
}

// One of two points, without a branch: which half of an interval a root is in cannot be predicted.
G729_INLINE Point Select(bool isFirst, Point first, Point second) {
    const std::int64_t mask = -static_cast<std::int64_t>(isFirst);
    return {second.x ^ ((first.x ^ second.x) & mask), second.y ^ ((first.y ^ second.y) & mask)};
}

G729_INLINE bool Crosses(Point a, Point b) {
    return a.y * b.y <= 0;
}

// All points that halving twice may come to are evaluated at once.
G729_INLINE std::int16_t Refine(const Polynomial& polynomial, Point low, Point high) {
    const auto at = [&](std::int64_t x) { return Point{x, At(polynomial, x)}; };
    const Point middle = at((low.x >> 1) + (high.x >> 1));
    const Point lower = at((low.x >> 1) + (middle.x >> 1));
    const Point upper = at((middle.x >> 1) + (high.x >> 1));
    const bool isLower = Crosses(low, middle);
    const Point from = Select(isLower, low, middle);
    const Point to = Select(isLower, middle, high);
    const Point quarter = Select(isLower, lower, upper);
    const bool isFirst = Crosses(from, quarter);
    return ::g729::roots::Interpolate(Narrow(Select(isFirst, from, quarter)),
                                      Narrow(Select(isFirst, quarter, to)));
}

}  // namespace roots

template <class V>
int FindRoots(const RootPolynomials& polynomials, std::int16_t* found) {
    constexpr int Points = roots::Grid<V>::Points;
    const roots::Polynomial both[] = {{polynomials.sum, polynomials.coarse},
                                      {polynomials.difference, polynomials.coarse}};
    if (!both[0].IsModest() || !both[1].IsModest()) return reference::FindRoots(polynomials, found);
    const roots::Grid<V> grids[] = {roots::Grid<V>(both[0]), roots::Grid<V>(both[1])};
    int count = 0;
    int j = 1;  // where the search goes on
    roots::Point last = {RootGrid[0], grids[0].y[0]};
    while (count < Order && j < Points) {
        const roots::Grid<V>& grid = grids[count % 2];
        if (!roots::Crosses({0, grid.y[j]}, last)) {
            const std::uint64_t later = grid.crossings & (~std::uint64_t{1} << j);
            if (later == 0) break;
            j = __builtin_ctzll(later);
            last = {RootGrid[j - 1], grid.y[j - 1]};
        }
        const std::int16_t root = roots::Refine(both[count % 2], {RootGrid[j], grid.y[j]}, last);
        found[count++] = root;
        last = {root, roots::At(both[count % 2], root)};
        j++;
    }
    return count;
}

}  // namespace

}  // namespace g729
