// One gatekeeper that answered a gatekeeper request.
#pragma once

#include <optional>
#include <string>

#include "platform/kernel/SockAddr.h"

struct RasGkInfo {
    SockAddr address;                  // where it wants to be spoken to: the rasAddress of its GCF
    std::optional<std::wstring> gkid;  // its identifier, absent when it gave none
};
