// The gatekeeper with which the module registers. Made by the gatekeeper search; owned by whoever holds it,
// by the module from the hand-over on.
#pragma once

#include "common/UStringX.h"
#include "platform/kernel/OSListObj.h"
#include "platform/kernel/Types.h"

class CompressorConfig : public OSListObj {
 public:
    // No configuration differs from another in a way that matters while it is in force.
    bool Compare(const CompressorConfig& /*other*/) const { return false; }
    bool RestartRequired(const CompressorConfig& /*other*/) const { return false; }

    UString gkid;          // handed to RasClient::Register
    UString gkSearchAddr;  // dotted text; empty: no address is given
    UWORD gkSearchPort = 0;
};
