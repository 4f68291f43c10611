// Taming: keeps the coder from pitch gains with which a decoder that lost frames would not settle.
#pragma once

#include <cstdint>

#include "platform/media/g729/LagDecoder.h"

namespace g729 {

class Taming {
 public:
    // Whether the gain of this lag has to stay below one.
    bool IsNeeded(Lag lag) const;

    // After each subframe, with the whole lag and the quantised gain in Q14.
    void Update(std::int16_t gain, int lag);

 private:
    static constexpr int Zones = 4;

    // The worst that an error in the excitation can have grown to, Q14, by age; newest first.
    std::int32_t errors[Zones] = {16384, 16384, 16384, 16384};
};

}  // namespace g729
