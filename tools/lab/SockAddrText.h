// Addresses as users write them: "127.0.0.1:5060".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/kernel/SockAddr.h"

namespace lab {

// An address and a port joined by a colon; without the colon the port is `defaultPort`. Nothing when the
// address is no dotted IPv4 address or the port is not 1 to 65535 (0 is refused too).
std::optional<SockAddr> ParseSockAddr(std::string_view text, UWORD defaultPort = 0);
std::string ToText(const SockAddr& address);

// The address by which this host reaches `remote` (0.0.0.0 when it does not).
ULONG SourceTowards(ULONG remote);
// Whether `address` is one of this host's own.
bool IsLocalAddress(ULONG address);

}  // namespace lab
