#include "tools/lab/G711Law.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace lab {

namespace {
constexpr int AlawEvenBits = 0x55;  // G.711, 2: the even bits travel inverted
constexpr int UlawBias = 132;
constexpr int UlawClip = 32635;
}  // namespace

std::uint8_t EncodeAlaw(std::int16_t sample) {
    const int sign = sample >= 0 ? 0x80 : 0;
    const int magnitude = (sample >= 0 ? sample : ~sample) >> 4;
    int code = magnitude;  // the first two segments are linear
    if (magnitude >= 32) {
        const int segment = static_cast<int>(std::bit_width(static_cast<unsigned>(magnitude))) - 4;
        code = segment << 4 | ((magnitude >> (segment - 1)) & 15);
    }
    return static_cast<std::uint8_t>((sign | code) ^ AlawEvenBits);
}

std::int16_t DecodeAlaw(std::uint8_t byte) {
    const int code = byte ^ AlawEvenBits;
    const int segment = (code >> 4) & 7;
    const int step = (code & 15) << 4;
    const int magnitude = segment == 0 ? step + 8 : (step + 0x108) << (segment - 1);
    return static_cast<std::int16_t>((code & 0x80) != 0 ? magnitude : -magnitude);
}

std::uint8_t EncodeUlaw(std::int16_t sample) {
    const unsigned sign = sample < 0 ? 0x80 : 0;
    const auto magnitude =
        static_cast<unsigned>(std::min(std::abs(static_cast<int>(sample)), UlawClip) + UlawBias);
    const auto segment = static_cast<unsigned>(std::bit_width(magnitude >> 8));
    const unsigned code = sign | segment << 4 | ((magnitude >> (segment + 3)) & 15);
    return static_cast<std::uint8_t>(~code);
}

std::int16_t DecodeUlaw(std::uint8_t byte) {
    const int code = ~byte & 0xFF;
    const int segment = (code >> 4) & 7;
    const int magnitude = ((((code & 15) << 3) + UlawBias) << segment) - UlawBias;
    return static_cast<std::int16_t>((code & 0x80) != 0 ? -magnitude : magnitude);
}

}  // namespace lab
