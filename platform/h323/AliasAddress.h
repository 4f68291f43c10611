// A name of an endpoint.
#pragma once

#include "platform/h323/TransportAddress.h"

namespace h323 {

using H323Id = BmpText<1, 256>;
using GatekeeperIdentifier = BmpText<1, 128>;
using EndpointIdentifier = BmpText<1, 128>;

using UrlId = Ia5Text<1, 512>;
using EmailId = Ia5Text<1, 512>;

struct AliasAddress : Choice<2, DigitText, H323Id, UrlId, TransportAddress, EmailId> {
    using Choice::Choice;
    static constexpr std::array<const char*, 6> Names = {"dialedDigits", "h323-ID",  "url-ID",
                                                         "transportID",  "email-ID", "(unknown)"};
};

}  // namespace h323
