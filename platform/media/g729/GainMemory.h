// Prediction of the fixed codebook gain from the energies of the last four subframes, which coder and decoder
// keep alike.
#pragma once

#include <cstdint>

#include "platform/media/g729/Sizes.h"

namespace g729 {

struct PredictedGain {
    std::int16_t mantissa = 0;
    std::int16_t exponent = 0;  // the Q format of the mantissa
};

class GainMemory {
 public:
    // For a code vector of 40 in Q13: at most four pulses, sharpened.
    PredictedGain Predict(const std::int16_t* code) const;

    // The memory moves on with the correction that the codebooks gave, in Q13.
    void Push(std::int32_t correction);

    // The memory moves on after a frame was lost.
    void PushLost();

    // In dB as Q10, newest first.
    const std::int16_t* Energies() const { return energies; }

 private:
    static constexpr std::int16_t Floor = -14336;  // -14 dB

    void Move(std::int16_t energy);

    std::int16_t energies[GainTaps] = {Floor, Floor, Floor, Floor};
};

}  // namespace g729
