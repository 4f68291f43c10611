// What a load run is to do.
#pragma once

#include <array>

#include "tools/lab/LegSettings.h"

namespace lab {

struct LoadOptions {
    int slots = 10;
    int seconds = 10;
    std::array<LegSettings, 2> legs;  // internal, external
    UWORD firstChan = 0;              // even
};

}  // namespace lab
