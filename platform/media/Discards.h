// Counts what is received and not used, and names each kind on the console at most once a second for the
// whole process. The receiving thread's.
#pragma once

#include "platform/kernel/OSBuf.h"
#include "platform/kernel/SockAddr.h"

namespace media {

class Discards {
 public:
    enum Kind {
        NotStarted,
        Malformed,
        Unauthentic,
        Replayed,
        UnknownType,
        Late,
        Duplicate,
        MalformedEvent,
        MalformedControl,
        NoSink,
        KindCount
    };

    explicit Discards(ULONG& count) : count(count) {}

    // Frees the buffer, which came from the SockAddr `from` (or null).
    OSIORetCode Drop(OSBuf* buf, Kind kind, const void* from);
    ULONG Count() const { return count; }

 private:
    ULONG& count;
};

}  // namespace media
