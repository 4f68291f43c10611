// Joint quantiser of the two gains of a subframe: two codebook stages with pre-selection.
#pragma once

#include <cstdint>

#include "platform/media/g729/EncoderKernels.h"
#include "platform/media/g729/GainMemory.h"
#include "platform/media/g729/PitchGain.h"

namespace g729 {

struct Gains {
    std::uint8_t index1 = 0;  // GA as sent
    std::uint8_t index2 = 0;  // GB
    std::int16_t pitch = 0;   // Q14
    std::int16_t code = 0;    // Q1
};

// What the gains are to serve, 40 samples each.
struct GainSignals {
    const std::int16_t* target;            // of both codebooks
    const std::int16_t* filteredAdaptive;  // Q0
    const std::int16_t* filteredCode;      // Q12
    const std::int16_t* code;              // Q13
};

// `pitch` is of the same target and adaptive vector; `tamed` keeps the pitch gain below one. `memory` moves
// on.
Gains QuantizeGains(const EncoderKernels& kernels, const GainSignals& signals, const PitchGain& pitch,
                    bool tamed, GainMemory& memory);

}  // namespace g729
