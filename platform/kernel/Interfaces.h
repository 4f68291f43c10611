// Choosing among the host's addresses and interfaces.
#pragma once

#include "platform/kernel/Types.h"

namespace kernel {

// Index of the interface by which multicast is joined and sent: the one that carries `address`, or where that
// is 0, the primary address that was set; 0 leaves it to routing.
unsigned MulticastInterface(ULONG address);

}  // namespace kernel
