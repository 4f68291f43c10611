#include "platform/media/Discards.h"

#include <array>

#include "platform/kernel/OSConsole.h"
#include "platform/kernel/RateLimit.h"

namespace media {

namespace {

constexpr std::array<const char*, Discards::KindCount> Names{
    "packet before the start of the stream",
    "malformed packet",
    "packet that is not authentic",
    "replayed packet",
    "packet of another payload type",
    "late packet",
    "packet received twice",
    "malformed telephone event",
    "malformed control packet",
    "packet without a media sink",
};

void Report(Discards::Kind kind, const SockAddr& from, int bytes) {
    static std::array<RateLimit, Discards::KindCount> limits;
    if (Console == nullptr || !limits[kind].Allow()) return;
    Console->Print("RTPEndPoint::Receive - %s dropped (%d bytes from %s:%u)", Names[kind], bytes,
                   from.AddressStr().c_str(), from.Port());
}

}  // namespace

OSIORetCode Discards::Drop(OSBuf* buf, Kind kind, const void* from) {
    count++;
    Report(kind, from != nullptr ? *static_cast<const SockAddr*>(from) : SockAddr(), buf->len);
    buf->Free();
    return Blocked;
}

}  // namespace media
