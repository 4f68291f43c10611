// ITU-T G.711 by its formulas, independent of the module's tables, so that the lab checks the module with
// other hands.
#pragma once

#include <cstdint>

namespace lab {

// 16-bit linear samples (full scale 32767) to one byte and back.
std::uint8_t EncodeAlaw(std::int16_t sample);
std::int16_t DecodeAlaw(std::uint8_t byte);
std::uint8_t EncodeUlaw(std::int16_t sample);
std::int16_t DecodeUlaw(std::uint8_t byte);

}  // namespace lab
