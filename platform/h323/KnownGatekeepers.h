// What the process has learnt of gatekeepers in its searches, so that a registration can name the gatekeeper
// that another client found.
#pragma once

#include <optional>
#include <string>

#include "platform/kernel/SockAddr.h"

namespace h323::KnownGatekeepers {

// Any thread. The identifier may be empty. At most 64 gatekeepers are kept: a new one takes the oldest one's
// place.
void Remember(const SockAddr& rasAddress, const std::u16string& identifier);

// Any thread. Nothing for a gatekeeper that no search has found.
std::optional<std::u16string> IdentifierOf(const SockAddr& rasAddress);

}  // namespace h323::KnownGatekeepers
