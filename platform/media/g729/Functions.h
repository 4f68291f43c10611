// Logarithm, power and root of ITU-T G.729: table look-ups with linear interpolation.
#pragma once

#include <cstdint>

namespace g729 {

struct Log2Result {
    std::int16_t whole = 0;
    std::int16_t fraction = 0;  // Q15
};

// log2(x); zero for x <= 0.
Log2Result Log2(std::int32_t x);

// 2^(whole + fraction / 32768), rounded; whole in 0..30.
std::int32_t Pow2(int whole, std::int16_t fraction);

// 1 / sqrt(x) for x in Q0, as Q30; 0x3FFFFFFF for x <= 0.
std::int32_t InverseSquareRoot(std::int32_t x);

}  // namespace g729
