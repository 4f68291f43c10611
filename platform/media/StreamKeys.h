// What protects a stream in both directions with SRTP. The bytes are the caller's.
#pragma once

#include "platform/media/SrtpSession.h"

namespace media {

struct StreamKeys {
    int tagLength;  // bytes of an RTP packet's authentication tag: 4 or 10
    SrtpSession::Salt localSalt;
    SrtpSession::Key localKey;
    SrtpSession::Salt remoteSalt;
    SrtpSession::Key remoteKey;
};

}  // namespace media
