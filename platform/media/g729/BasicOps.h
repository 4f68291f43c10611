// Saturating 16- and 32-bit arithmetic in which ITU-T G.729 is defined. Results are exact to the last bit,
// clipping included; an operation that takes `clipped` sets it when it clips and never clears it.
//
// Nothing here is ever emitted as a function of its own, so that files built for different processors can
// share it.
#pragma once

#include <cstdint>

#define G729_OPERATION [[gnu::always_inline]] constexpr

namespace g729 {

constexpr std::int32_t Max32 = 0x7FFFFFFF;
constexpr std::int32_t Min32 = -Max32 - 1;
constexpr std::int16_t Max16 = 0x7FFF;
constexpr std::int16_t Min16 = -0x8000;

G729_OPERATION std::int16_t Hi(std::int32_t x) {
    return static_cast<std::int16_t>(x >> 16);
}
G729_OPERATION std::int16_t Lo(std::int32_t x) {
    return static_cast<std::int16_t>(x);
}

G729_OPERATION std::int16_t Clip16(std::int32_t x) {
    return static_cast<std::int16_t>(x > Max16 ? Max16 : x < Min16 ? Min16 : x);
}

G729_OPERATION std::int32_t Clip32(std::int64_t x) {
    return static_cast<std::int32_t>(x > Max32 ? Max32 : x < Min32 ? Min32 : x);
}

// 16 bits.
G729_OPERATION std::int16_t Add(std::int16_t a, std::int16_t b) {
    return Clip16(a + b);
}
G729_OPERATION std::int16_t Sub(std::int16_t a, std::int16_t b) {
    return Clip16(a - b);
}
G729_OPERATION std::int16_t Mult(std::int16_t a, std::int16_t b) {
    return Clip16((a * b) >> 15);
}
G729_OPERATION std::int16_t MultR(std::int16_t a, std::int16_t b) {
    return Clip16((a * b + 0x4000) >> 15);
}
G729_OPERATION std::int16_t Negate(std::int16_t a) {
    return Clip16(-a);
}
G729_OPERATION std::int16_t Abs(std::int16_t a) {
    return a < 0 ? Negate(a) : a;
}

// Left shifts multiply, right shifts floor; a negative count shifts the other way.
G729_OPERATION std::int16_t ShlUp(std::int16_t a, int count) {
    return Clip16(a * (1 << (count > 15 ? 15 : count)));
}
G729_OPERATION std::int16_t ShrDown(std::int16_t a, int count) {
    return static_cast<std::int16_t>(a >> (count > 15 ? 15 : count));
}
G729_OPERATION std::int16_t Shl(std::int16_t a, int count) {
    return count < 0 ? ShrDown(a, -count) : ShlUp(a, count);
}
G729_OPERATION std::int16_t Shr(std::int16_t a, int count) {
    return count < 0 ? ShlUp(a, -count) : ShrDown(a, count);
}

// Left shifts until the bit below the sign differs from it; 0 for 0.
G729_OPERATION int NormL(std::int32_t x) {
    const auto magnitude = static_cast<std::uint32_t>(x < 0 ? ~x : x);
    return x == 0 ? 0 : __builtin_clz(magnitude << 1 | 1);
}
G729_OPERATION int NormS(std::int16_t a) {
    return a == 0 ? 0 : NormL(a) - 16;
}

// 32768 a / b for 0 <= a <= b, at most 32767. Outside of that range, which the codec does not reach, the
// result is merely defined.
G729_OPERATION std::int16_t DivS(std::int16_t a, std::int16_t b) {
    if (a >= b) return Max16;
    return static_cast<std::int16_t>(a <= 0 || b <= 0 ? 0 : (a << 15) / b);
}

// 32 bits.
G729_OPERATION std::int32_t LAdd(std::int32_t a, std::int32_t b) {
    std::int32_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? (a < 0 ? Min32 : Max32) : sum;
}
G729_OPERATION std::int32_t LSub(std::int32_t a, std::int32_t b) {
    std::int32_t difference = 0;
    return __builtin_sub_overflow(a, b, &difference) ? (a < 0 ? Min32 : Max32) : difference;
}
G729_OPERATION std::int32_t LMult(std::int16_t a, std::int16_t b) {
    const std::int32_t product = a * b;
    return product == 0x40000000 ? Max32 : product * 2;
}
G729_OPERATION std::int32_t LMac(std::int32_t s, std::int16_t a, std::int16_t b) {
    return LAdd(s, LMult(a, b));
}
G729_OPERATION std::int32_t LMsu(std::int32_t s, std::int16_t a, std::int16_t b) {
    return LSub(s, LMult(a, b));
}
G729_OPERATION std::int32_t LNegate(std::int32_t x) {
    return x == Min32 ? Max32 : -x;
}
G729_OPERATION std::int32_t LAbs(std::int32_t x) {
    return x < 0 ? LNegate(x) : x;
}

G729_OPERATION std::int32_t LShlUp(std::int32_t x, int count) {
    return Clip32(static_cast<std::int64_t>(x) * (std::int64_t{1} << (count > 31 ? 31 : count)));
}
G729_OPERATION std::int32_t LShrDown(std::int32_t x, int count) {
    return x >> (count > 31 ? 31 : count);
}
G729_OPERATION std::int32_t LShl(std::int32_t x, int count) {
    return count < 0 ? LShrDown(x, -count) : LShlUp(x, count);
}
G729_OPERATION std::int32_t LShr(std::int32_t x, int count) {
    return count < 0 ? LShlUp(x, -count) : LShrDown(x, count);
}
// Right shift that rounds half up.
G729_OPERATION std::int32_t LShrR(std::int32_t x, int count) {
    if (count > 31) return 0;
    return count > 0 ? (x >> count) + ((x >> (count - 1)) & 1) : LShr(x, count);
}
G729_OPERATION std::int16_t Round(std::int32_t x) {
    return Hi(LAdd(x, 0x8000));
}

// The same with a note of clipping.
G729_OPERATION std::int16_t Add(std::int16_t a, std::int16_t b, bool& clipped) {
    const std::int16_t sum = Add(a, b);
    clipped |= sum != a + b;
    return sum;
}
G729_OPERATION std::int16_t Sub(std::int16_t a, std::int16_t b, bool& clipped) {
    const std::int16_t difference = Sub(a, b);
    clipped |= difference != a - b;
    return difference;
}
G729_OPERATION std::int32_t LAdd(std::int32_t a, std::int32_t b, bool& clipped) {
    std::int32_t sum = 0;
    clipped |= __builtin_add_overflow(a, b, &sum);
    return LAdd(a, b);
}
G729_OPERATION std::int32_t LSub(std::int32_t a, std::int32_t b, bool& clipped) {
    std::int32_t difference = 0;
    clipped |= __builtin_sub_overflow(a, b, &difference);
    return LSub(a, b);
}
G729_OPERATION std::int32_t LMult(std::int16_t a, std::int16_t b, bool& clipped) {
    clipped |= a == Min16 && b == Min16;
    return LMult(a, b);
}
G729_OPERATION std::int32_t LMac(std::int32_t s, std::int16_t a, std::int16_t b, bool& clipped) {
    return LAdd(s, LMult(a, b, clipped), clipped);
}
G729_OPERATION std::int32_t LMsu(std::int32_t s, std::int16_t a, std::int16_t b, bool& clipped) {
    return LSub(s, LMult(a, b, clipped), clipped);
}
G729_OPERATION std::int32_t LShl(std::int32_t x, int count, bool& clipped) {
    const std::int32_t shifted = LShl(x, count);
    clipped |= count > 0 && LShr(shifted, count) != x;
    return shifted;
}
G729_OPERATION std::int16_t Round(std::int32_t x, bool& clipped) {
    return Hi(LAdd(x, 0x8000, clipped));
}

}  // namespace g729
