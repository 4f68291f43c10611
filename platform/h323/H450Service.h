// Trace switch of supplementary services. No calls are signalled by this library: it is accepted and has no
// effect.
#pragma once

#include "platform/kernel/Types.h"

class H450Service {
 public:
    static UBYTE msgTrace;  // non-zero: on
};
