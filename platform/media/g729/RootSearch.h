// Root search in the sum and difference polynomials, and its parts, of which the vector kernels make
// use.
#pragma once

#include "platform/media/g729/Dpf.h"
#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/Tables.h"

namespace g729::roots {

constexpr int GridPoints = 50;

// The polynomial f at x in Q15 by Chebyshev's recursion, clipped to 16 bits.
G729_OPERATION std::int16_t Evaluate(const std::int16_t* f, bool coarse, std::int16_t x) {
    Dpf b2 = {static_cast<std::int16_t>(coarse ? 128 : 256), 0};
    Dpf b1 = Extract(LMac(LMult(x, static_cast<std::int16_t>(coarse ? 256 : 512)), f[1], 4096));
    for (int i = 2; i < RootPolynomials::Degree; i++) {
        std::int32_t t = LShl(Multiply(b1, x), 1);
        t = LMsu(LMac(t, b2.hi, Min16), b2.lo, 1);
        t = LMac(t, f[i], 4096);
        b2 = b1;
        b1 = Extract(t);
    }
    const std::int32_t t = LMsu(LMac(Multiply(b1, x), b2.hi, Min16), b2.lo, 1);
    return Hi(LShl(LMac(t, f[RootPolynomials::Degree], 2048), coarse ? 7 : 6));
}

// A point of the x axis and the polynomial there.
struct Point {
    std::int16_t x, y;
};

G729_OPERATION bool Crosses(Point a, Point b) {
    return a.y * b.y <= 0;
}

// Where the line through the two points, the one with the lower x first, crosses zero.
G729_OPERATION std::int16_t Interpolate(Point low, Point high) {
    const std::int16_t dy = Sub(high.y, low.y);
    if (dy == 0) return low.x;
    const std::int16_t magnitude = Abs(dy);
    const int norm = NormS(magnitude);
    const std::int16_t inverse = DivS(0x3FFF, Shl(magnitude, norm));
    const std::int16_t slope = Lo(LShr(LMult(Sub(high.x, low.x), inverse), 20 - norm));
    const std::int32_t step = LMult(low.y, dy < 0 ? Negate(slope) : slope) >> 11;
    return Sub(low.x, Lo(step));
}

// The root between two points at which the polynomial has different signs: halved twice, then interpolated.
template <typename Polynomial>
G729_OPERATION std::int16_t Refine(Point low, Point high, Polynomial evaluate) {
    for (int i = 0; i < 2; i++) {
        const std::int16_t x =
            Add(static_cast<std::int16_t>(low.x >> 1), static_cast<std::int16_t>(high.x >> 1));
        const Point middle = {x, evaluate(x)};
        (Crosses(low, middle) ? high : low) = middle;
    }
    return Interpolate(low, high);
}

}  // namespace g729::roots
