// Trace switches of the RAS client.
#pragma once

#include "platform/kernel/Types.h"

// Written before the libraries start and never again.
class Ras {
 public:
    static UBYTE infoTrace;  // non-zero: one line for every message sent and received
    static UBYTE msgTrace;   // non-zero: every message field by field
};
