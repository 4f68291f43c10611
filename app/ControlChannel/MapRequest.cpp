// Map: connects a leg to its remote address, protected when the request brings keys.
#include <cstdio>
#include <cstring>

#include "app/ControlChannel/ControlChannel.h"
#include "app/ControlChannel/KeyBlock.h"
#include "app/ControlChannel/MediaPair.h"

namespace {

// One line of hexadecimal bytes. puts writes it whole, between two console lines, and keeps their order.
void PutHexLine(std::span<const UBYTE> bytes) {
    char line[3 * KeyBlock::KeyLength + 1] = "";
    for (size_t i = 0; i < bytes.size(); ++i) snprintf(line + 3 * i, 4, " %02x", bytes[i]);
    puts(line);
    explicit_bzero(line, sizeof line);
}

}  // namespace

void ControlChannel::OnMap(ControlMessage& msg) {
    const auto octet = msg.Octets();
    Trace("OnMap - chan %u, comp %u, addr %u.%u.%u.%u, port %u, mfpp %u, flags %x", msg.chan, msg.comp,
          octet[0], octet[1], octet[2], octet[3], msg.port, msg.mfpp, msg.flags);
    MediaChannel& side = *MediaPair::Get(this, msg.chan, portbase, true)->GetChannel(msg.chan);
    side.holdMusicTimer.Cancel();
    side.Setup(msg.comp, msg.addr, msg.port, msg.mfpp, msg.flags);
    // Audio that was to be protected never goes out in the clear: without good keys there is no endpoint.
    if (msg.extraLen != 0 && !Protect(side, msg)) side.Teardown();
    side.Start(msg.comp, msg.addr, msg.port);
}

bool ControlChannel::Protect(const MediaChannel& side, const ControlMessage& msg) {
    KeyBlock keys;
    if (!keys.Parse(msg.Extra())) {
        Trace("OnMap - chan %u, bad key block of %d bytes, the channel stays closed", msg.chan, msg.extraLen);
        return false;
    }
    TraceKeys(keys);
    if (side.rtpendpoint == nullptr) return true;
    const int result =
        side.rtpendpoint->SRTPEnable(keys.AuthTagLength(), keys.loc_salt.data(), keys.loc_key.data(),
                                     keys.rem_salt.data(), keys.rem_key.data());
    if (result != 0) Trace("OnMap - chan %u, SRTP refused the keys, the channel stays closed", msg.chan);
    return result == 0;
}

void ControlChannel::TraceKeys(const KeyBlock& keys) const {
    Trace("OnMap - local master key:\n");
    PutHexLine(keys.loc_key);
    Trace("OnMap - local master salt:\n");
    PutHexLine(keys.loc_salt);
    Trace("OnMap - remote master key:\n");
    PutHexLine(keys.rem_key);
    Trace("OnMap - remote master salt:\n");
    PutHexLine(keys.rem_salt);
}
