// What the module tells its gatekeeper about itself: the nonStandardData of its RRQ (docs/registration.md).
#pragma once

#include <optional>

#include "platform/h323/NonStandardParameter.h"
#include "platform/kernel/Types.h"

namespace h323 {

struct ModuleData {
    UWORD controlPort = 0;          // UDP port of the control channel
    UWORD compressionBase = 0;      // RTP port base
    ULONG compressionQuantity = 0;  // channels that transcode
    ULONG relayQuantity = 0;        // channels that only relay

    // The maker under which the module's data and vendor identifier stand.
    static H221NonStandard Maker();

    NonStandardParameter ToNonStandard() const;
    // Nothing when it is of another maker, of no layout known here, or too short. What a later version may
    // have appended is passed over.
    static std::optional<ModuleData> FromNonStandard(const NonStandardParameter& parameter);

    bool operator==(const ModuleData&) const = default;
};

}  // namespace h323
