// The base of the chain: a buffer that nobody takes is freed.
#include "platform/kernel/OSIO.h"

OSIORetCode OSIO::DataIndication(OSBuf* buf) {
    buf->Free();
    return Blocked;
}

OSIORetCode OSIO::DatagramIndication(OSBuf* buf, void* /*from*/, void* /*to*/) {
    buf->Free();
    return Blocked;
}
