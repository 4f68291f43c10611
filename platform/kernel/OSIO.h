// An end of a chain through which buffers travel: a socket, an endpoint, a media device.
#pragma once

#include "platform/kernel/OSBuf.h"
#include "platform/kernel/Types.h"

class OSIO {
 public:
    OSIO() = default;
    OSIO(const OSIO&) = delete;
    OSIO& operator=(const OSIO&) = delete;
    virtual ~OSIO() = default;

    // Takes a buffer over; the base frees it and answers Blocked.
    virtual OSIORetCode DataIndication(OSBuf* buf);
    // The same for a datagram: `from` and `to` point to SockAddr or are null.
    virtual OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* to);

    // Binds `upper` above this one: what arrives here goes there.
    virtual void Bind(OSIO* upper) { bound = upper; }
    virtual void UnBind() { bound = nullptr; }
    OSIO* Bound() const { return bound; }

    // The object below, to which this one is bound, is about to go: the last moment to send through it, and
    // the end of using it. Called on the thread that releases it.
    virtual void LowerReleased(OSIO* /*lower*/) {}

 private:
    OSIO* bound = nullptr;
};
