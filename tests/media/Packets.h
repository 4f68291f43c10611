// Datagrams for tests, from hexadecimal text or field by field.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/media/RtpHeader.h"
#include "platform/media/TelephoneEvent.h"

namespace media_test {

using Bytes = std::vector<UBYTE>;

// Two digits a byte; blanks are skipped.
inline Bytes Hex(const std::string& text) {
    Bytes bytes;
    std::string pair;
    for (const char c : text) {
        if (c != ' ') pair += c;
        if (pair.size() < 2) continue;
        bytes.push_back(static_cast<UBYTE>(std::strtoul(pair.c_str(), nullptr, 16)));
        pair.clear();
    }
    return bytes;
}

inline Bytes Rtp(const media::RtpHeader& header, const Bytes& payload) {
    Bytes packet(media::RtpHeader::FixedSize);
    header.Write(std::span<UBYTE, media::RtpHeader::FixedSize>(packet));
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

inline Bytes EventPayload(UBYTE event, bool end, UWORD duration) {
    Bytes payload(media::TelephoneEvent::Size);
    media::TelephoneEvent{.event = event, .end = end, .duration = duration}.Write(
        std::span<UBYTE, media::TelephoneEvent::Size>(payload));
    return payload;
}

}  // namespace media_test
