// The tables of ITU-T G.711, computed or copied at compile time. Linear values are on the 16-bit scale of the
// ITU-T software tool library (G.191): 13-bit A-law values shifted left by 3, 14-bit u-law values by 2.
#pragma once

#include <array>
#include <bit>

#include "platform/kernel/Types.h"

namespace media::g711 {

constexpr UBYTE AlawMask = 0x55;  // A-law inverts every second bit on the line
constexpr UBYTE SignBit = 0x80;   // set in positive values
constexpr int AlawShift = 4;      // linear bits that the finest A-law step ignores
constexpr int UlawShift = 2;
constexpr int UlawBias = 33;  // of the 14-bit scale: makes every segment a power of two
constexpr int UlawMax = 0x1FFF;

constexpr std::int16_t ExpandAlaw(UBYTE code) {
    const int bits = code ^ AlawMask;
    const int segment = (bits >> 4) & 7;
    const int step = bits & 0x0F;
    const int value = segment == 0 ? (step << 4) + 8 : ((step << 4) + 8 + 0x100) << (segment - 1);
    return static_cast<std::int16_t>((bits & SignBit) != 0 ? value : -value);
}

constexpr std::int16_t ExpandUlaw(UBYTE code) {
    const int bits = ~code & 0xFF;
    const int segment = (bits >> 4) & 7;
    const int step = bits & 0x0F;
    const int value = ((((step << 1) + UlawBias) << segment) - UlawBias) << UlawShift;
    return static_cast<std::int16_t>((code & SignBit) != 0 ? value : -value);
}

// A sign and a magnitude in place of a two's complement value: 0 and -1 are the smallest of each sign.
constexpr int Magnitude(int linear) {
    return linear < 0 ? ~linear : linear;
}

constexpr UBYTE CompressAlaw(int linear) {
    unsigned bits = static_cast<unsigned>(Magnitude(linear)) >> AlawShift;
    if (bits > 15) {
        const int segment = std::bit_width(bits) - 4;
        bits = (bits >> (segment - 1)) - 16 + (static_cast<unsigned>(segment) << 4);
    }
    return static_cast<UBYTE>((linear < 0 ? bits : bits | SignBit) ^ AlawMask);
}

constexpr UBYTE CompressUlaw(int linear) {
    unsigned value = static_cast<unsigned>(Magnitude(linear) >> UlawShift) + UlawBias;
    if (value > UlawMax) value = UlawMax;
    const int segment = std::bit_width(value) - 6;
    const unsigned bits = static_cast<unsigned>(segment) << 4 | ((value >> (segment + 1)) & 0x0F);
    return static_cast<UBYTE>(~(linear < 0 ? bits | SignBit : bits));
}

template <auto Expand>
constexpr auto MakeExpansion() {
    std::array<std::int16_t, 256> table{};
    for (size_t code = 0; code < table.size(); code++) table[code] = Expand(static_cast<UBYTE>(code));
    return table;
}

// Indexed by the bits of a linear value above `Shift`.
template <auto Compress, int Shift>
constexpr auto MakeCompression() {
    std::array<UBYTE, (0x10000 >> Shift)> table{};
    for (size_t i = 0; i < table.size(); i++) {
        table[i] = Compress(static_cast<std::int16_t>(static_cast<UWORD>(i << Shift)));
    }
    return table;
}

// G.711, table 3: from the number of a u-law decoder output value (0 to 127) to that of A-law (1 to 128).
constexpr std::array<UBYTE, 128> UlawToAlawValue{
    1,   1,   2,   2,   3,   3,   4,   4,   5,   5,   6,   6,   7,   7,   8,   8,   9,   10,  11,
    12,  13,  14,  15,  16,  17,  18,  19,  20,  21,  22,  23,  24,  25,  27,  29,  31,  33,  34,
    35,  36,  37,  38,  39,  40,  41,  42,  43,  44,  46,  48,  49,  50,  51,  52,  53,  54,  55,
    56,  57,  58,  59,  60,  61,  62,  64,  65,  66,  67,  68,  69,  70,  71,  72,  73,  74,  75,
    76,  77,  78,  79,  80,  82,  83,  84,  85,  86,  87,  88,  89,  90,  91,  92,  93,  94,  95,
    96,  97,  98,  99,  100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113, 114,
    115, 116, 117, 118, 119, 120, 121, 122, 123, 124, 125, 126, 127, 128};

// G.711, table 4: from the number of an A-law decoder output value (1 to 128) to that of u-law (0 to 127).
constexpr std::array<UBYTE, 128> AlawToUlawValue{
    1,   3,   5,   7,   9,   11,  13,  15,  16,  17,  18,  19,  20,  21,  22,  23,  24,  25,  26,
    27,  28,  29,  30,  31,  32,  32,  33,  33,  34,  34,  35,  35,  36,  37,  38,  39,  40,  41,
    42,  43,  44,  45,  46,  47,  48,  48,  49,  49,  50,  51,  52,  53,  54,  55,  56,  57,  58,
    59,  60,  61,  62,  63,  64,  64,  65,  66,  67,  68,  69,  70,  71,  72,  73,  74,  75,  76,
    77,  78,  79,  80,  80,  81,  82,  83,  84,  85,  86,  87,  88,  89,  90,  91,  92,  93,  94,
    95,  96,  97,  98,  99,  100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113,
    114, 115, 116, 117, 118, 119, 120, 121, 122, 123, 124, 125, 126, 127};

constexpr auto MakeUlawToAlaw() {
    std::array<UBYTE, 256> table{};
    for (unsigned code = 0; code < 256; code++) {
        const unsigned value = UlawToAlawValue[~code & 0x7F] - 1U;
        table[code] = static_cast<UBYTE>((code & SignBit) | (value ^ AlawMask));
    }
    return table;
}

constexpr auto MakeAlawToUlaw() {
    std::array<UBYTE, 256> table{};
    for (unsigned code = 0; code < 256; code++) {
        const unsigned value = AlawToUlawValue[(code ^ AlawMask) & 0x7F];
        table[code] = static_cast<UBYTE>((code & SignBit) | (~value & 0x7F));
    }
    return table;
}

}  // namespace media::g711
