#include "platform/media/StreamKeeper.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/OSConsole.h"

namespace media {

namespace {

AudioHardware* replaced = nullptr;

[[gnu::format(printf, 1, 2)]] void Trace(const char* format, ...) {
    if (AsyncSocket::trace == 0 || Console == nullptr) return;
    char text[512];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    Console->Print("AudioHardware::%s", text);
}

std::string Text(const SockAddr& address) {
    return address.AddressStr() + ":" + std::to_string(address.Port());
}

}  // namespace

StreamKeeper::Stream* StreamKeeper::Find(UWORD sid) {
    const auto found = streams.find(sid);
    return found != streams.end() ? &found->second : nullptr;
}

void StreamKeeper::StartRealTime() {
    Trace("StartRealTime");
}

bool StreamKeeper::Open(UWORD sid, PhoneDevice::Direction direction) {
    Trace("Open - stream %u, direction %d", sid, direction);
    const auto [place, isNew] = streams.try_emplace(sid);
    if (isNew) place->second.direction = direction;
    return isNew;
}

bool StreamKeeper::Protect(UWORD sid, const StreamKeys& keys) {
    Trace("Protect - stream %u, tag of %d bytes", sid, keys.tagLength);
    Stream* stream = Find(sid);
    if (stream == nullptr || (keys.tagLength != 4 && keys.tagLength != 10)) return false;
    stream->isProtected = true;
    return true;
}

bool StreamKeeper::Describe(UWORD sid, const StreamDescription& d) {
    Stream* stream = Find(sid);
    const bool isProtected = stream != nullptr && stream->isProtected;
    Trace("Describe - stream %u, heard at %s and %s, local %s and %s, remote %s and %s", sid,
          Text(d.heardRtp).c_str(), Text(d.heardRtcp).c_str(), Text(d.localRtp).c_str(),
          Text(d.localRtcp).c_str(), Text(d.remoteRtp).c_str(), Text(d.remoteRtcp).c_str());
    Trace("Describe - stream %u, comp %d, media side %d, mfpp %d, DTMF payload type %d, protected %d", sid,
          d.comp, d.mediaComp, d.mfpp, d.dtmfPayloadType, isProtected);
    if (stream == nullptr) return false;
    stream->description = d;
    return true;
}

bool StreamKeeper::PlayDigit(UWORD sid, char digit, int durationMs) {
    Trace("PlayDigit - stream %u, digit %c, duration %d", sid, digit, durationMs);
    const Stream* stream = Find(sid);
    return stream != nullptr && stream->description.has_value();
}

bool StreamKeeper::MixIn(UWORD host, UWORD member) {
    Trace("MixIn - stream %u into stream %u", member, host);
    Stream* stream = Find(host);
    return stream != nullptr && Find(member) != nullptr && stream->members.insert(member).second;
}

void StreamKeeper::MixOut(UWORD host, UWORD member) {
    Trace("MixOut - stream %u out of stream %u", member, host);
    if (Stream* stream = Find(host)) stream->members.erase(member);
}

bool StreamKeeper::ReadStatistics(UWORD sid, _rtp_callstats& stats) {
    Trace("ReadStatistics - stream %u", sid);
    if (Find(sid) == nullptr) return false;
    stats = {};
    stats.hdr.success = 1;
    stats.hdr.sid = sid;
    return true;
}

void StreamKeeper::Close(UWORD sid) {
    Trace("Close - stream %u", sid);
    streams.erase(sid);
}

AudioHardware& Hardware() {
    static StreamKeeper keeper;
    return replaced != nullptr ? *replaced : keeper;
}

void ReplaceHardware(AudioHardware* hardware) {
    replaced = hardware;
}

}  // namespace media
