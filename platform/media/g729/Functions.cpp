#include "platform/media/g729/Functions.h"

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Tables.h"

namespace g729 {

namespace {

// Between entries `at` and `at` + 1, `part` in Q15; the result has 16 more fraction bits than the table.
std::int32_t Interpolated(const std::int16_t* table, int at, std::int16_t part) {
    return LMsu(table[at] * 0x10000, Sub(table[at], table[at + 1]), part);
}

std::int16_t Part(std::int32_t normalised) {
    return static_cast<std::int16_t>((normalised >> 10) & 0x7FFF);
}

}  // namespace

Log2Result Log2(std::int32_t x) {
    if (x <= 0) return {};
    const int shift = NormL(x);
    const std::int32_t y = x << shift;
    const std::int32_t fraction = Interpolated(LogOfTwo, (y >> 25) - 32, Part(y));
    return {static_cast<std::int16_t>(30 - shift), Hi(fraction)};
}

std::int32_t Pow2(int whole, std::int16_t fraction) {
    const auto part = static_cast<std::int16_t>((fraction * 32) & 0x7FFF);
    return LShrR(Interpolated(PowerOfTwo, (fraction >> 10) & 31, part), 30 - whole);
}

std::int32_t InverseSquareRoot(std::int32_t x) {
    if (x <= 0) return 0x3FFFFFFF;
    const int exponent = 30 - NormL(x);
    std::int32_t y = x << NormL(x);
    if (exponent % 2 == 0) y >>= 1;
    return Interpolated(InverseRoot, (y >> 25) - 16, Part(y)) >> (exponent / 2 + 1);
}

}  // namespace g729
