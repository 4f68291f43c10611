// The code vector of a subframe: four pulses, with pitch sharpening.
#pragma once

#include <cstdint>

namespace g729 {

constexpr std::int16_t PositivePulse = 8191;   // Q13
constexpr std::int16_t NegativePulse = -8192;  // Q13

// The pulses that 13 bits of positions and 4 bits of signs name; code[0..39] in Q13.
void DecodePulses(int positions, int signs, std::int16_t* code);

// v[n] += sharpening (Q14) * v[n - lag] from n = lag to 39, each on what the earlier ones have become.
void Sharpen(std::int16_t* v, int lag, std::int16_t sharpening);

}  // namespace g729
