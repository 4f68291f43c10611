// Other gatekeepers that a gatekeeper names.
#pragma once

#include "platform/h323/AliasAddress.h"

namespace h323 {

struct AlternateGK {
    TransportAddress rasAddress;
    std::optional<GatekeeperIdentifier> gatekeeperIdentifier;
    bool needToRegister = false;
    Ranged<0, 127> priority;

    bool operator==(const AlternateGK&) const = default;
};

struct AltGKInfo {
    std::vector<AlternateGK> alternateGatekeeper;
    bool altGKisPermanent = false;

    bool operator==(const AltGKInfo&) const = default;
};

H323_DECLARE_DESCRIBE(AlternateGK);
H323_DECLARE_DESCRIBE(AltGKInfo);

}  // namespace h323
