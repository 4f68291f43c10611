// A maker's own data in a message, and the identifiers that name its maker.
#pragma once

#include <optional>

#include "platform/h323/Describe.h"

namespace h323 {

// A maker by country (ITU-T T.35) and number within it.
struct H221NonStandard {
    Ranged<0, 255> t35CountryCode;
    Ranged<0, 255> t35Extension;
    Ranged<0, 65535> manufacturerCode;

    bool operator==(const H221NonStandard&) const = default;
};

struct NonStandardIdentifier : Choice<2, ObjectId, H221NonStandard> {
    using Choice::Choice;
    static constexpr std::array<const char*, 3> Names = {"object", "h221NonStandard", "(unknown)"};
};

struct NonStandardParameter {
    NonStandardIdentifier nonStandardIdentifier;
    OctetString data;

    bool operator==(const NonStandardParameter&) const = default;
};

struct VendorIdentifier {
    H221NonStandard vendor;
    std::optional<BoundedOctets<1, 256>> productId;
    std::optional<BoundedOctets<1, 256>> versionId;

    bool operator==(const VendorIdentifier&) const = default;
};

H323_DECLARE_DESCRIBE(H221NonStandard);
H323_DECLARE_DESCRIBE(NonStandardParameter);
H323_DECLARE_DESCRIBE(VendorIdentifier);

}  // namespace h323
