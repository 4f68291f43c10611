// A coded frame: the parameters that 80 bits carry (RFC 3551, 4.5.6).
#pragma once

#include <cstdint>

#include "platform/media/g729/LspMemory.h"
#include "platform/media/g729/Sizes.h"

namespace g729 {

struct Frame {
    struct Subframe {
        std::uint8_t lag = 0;         // P1 of 8 bits, P2 of 5
        std::uint16_t positions = 0;  // C, 13 bits
        std::uint8_t signs = 0;       // S, 4 bits
        std::uint8_t gain1 = 0;       // GA, 3 bits
        std::uint8_t gain2 = 0;       // GB, 4 bits
    };

    LspIndices lsp;
    std::uint8_t parity = 0;  // P0, of the six upper bits of P1
    Subframe subframes[Subframes];

    // Whatever the octets are, every parameter is in its range.
    static Frame Unpack(const std::uint8_t octets[FrameBytes]);
    void Pack(std::uint8_t octets[FrameBytes]) const;

    // P0 as it has to be for `lag`.
    static std::uint8_t ParityOf(std::uint8_t lag);
};

}  // namespace g729
