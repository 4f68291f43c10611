// Double precision format of ITU-T G.729: a 32-bit number as two 16-bit halves, hi * 65536 + lo * 2 with lo
// in 0..32767; the lowest bit is lost.
#pragma once

#include "platform/media/g729/BasicOps.h"

namespace g729 {

struct Dpf {
    std::int16_t hi = 0;
    std::int16_t lo = 0;
};

G729_OPERATION Dpf Extract(std::int32_t x) {
    return {Hi(x), static_cast<std::int16_t>((x >> 1) & 0x7FFF)};
}

G729_OPERATION std::int32_t Compose(Dpf x) {
    return x.hi * 0x10000 + x.lo * 2;
}

// Products as of Q31 numbers, of two pairs and of a pair with a 16-bit number.
G729_OPERATION std::int32_t Multiply(Dpf x, Dpf y) {
    return LMac(LMac(LMult(x.hi, y.hi), Mult(x.hi, y.lo), 1), Mult(x.lo, y.hi), 1);
}
G729_OPERATION std::int32_t Multiply(Dpf x, std::int16_t n) {
    return LMac(LMult(x.hi, n), Mult(x.lo, n), 1);
}

// numerator / denominator as Q31 numbers by one step of approximation, for 0 <= numerator < denominator and a
// normalised denominator.
G729_OPERATION std::int32_t Divide(Dpf numerator, Dpf denominator) {
    const std::int16_t first = DivS(0x3FFF, denominator.hi);
    const std::int32_t rest = LSub(Max32, Multiply(denominator, first));
    const std::int32_t inverse = Multiply(Extract(rest), first);
    return LShl(Multiply(numerator, Extract(inverse)), 2);
}

}  // namespace g729
