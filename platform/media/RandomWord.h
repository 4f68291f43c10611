// Random numbers that a stranger cannot guess (RFC 3550, 5.1, wants them for SSRC, sequence and time stamp).
#pragma once

#include "platform/kernel/Types.h"

namespace media {

ULONG RandomWord();

}  // namespace media
