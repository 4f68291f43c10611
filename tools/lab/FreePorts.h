// Finds ranges of UDP ports that nobody uses.
#pragma once

#include <optional>

#include "platform/kernel/Types.h"

namespace lab {

// The first of `count` neighbouring free UDP ports on all addresses, a multiple of 4, below the range from
// which the system chooses. They stay free only by good manners: ranges are handed out from a place that
// differs from process to process and never twice to one process. Nothing when there are none.
std::optional<UWORD> FindFreePorts(int count);

}  // namespace lab
