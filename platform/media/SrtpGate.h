// The protection of one direction of a stream: none, SRTP, or, once SRTP was asked for and could not be had,
// shut. One thread at a time.
#pragma once

#include <memory>

#include "platform/kernel/OSBuf.h"
#include "platform/media/SrtpSession.h"

namespace media {

class SrtpGate {
 public:
    enum Protocol { Rtp, Rtcp };

    // From now on through `newSession`; null shuts the gate.
    void Protect(std::unique_ptr<SrtpSession> newSession);

    // Protects a packet that goes out. False: it must not be sent.
    bool Seal(OSBuf& packet, Protocol protocol);
    // Checks and decrypts a packet that came in.
    SrtpSession::Result Open(OSBuf& packet, Protocol protocol);

 private:
    bool isProtected = false;
    std::unique_ptr<SrtpSession> session;
};

}  // namespace media
