// What a load run is to do.
#pragma once

#include <array>

#include "tools/lab/LegSettings.h"

namespace lab {

struct LoadOptions {
    int slots = 10;
    int seconds = 10;
    std::array<LegSettings, 2> legs;  // internal, external
    // So many slots more are set up, and speak in the middle of the run only.
    int overload = 0;
    int overloadSeconds = 0;

    int AllSlots() const { return slots + overload; }
};

}  // namespace lab
