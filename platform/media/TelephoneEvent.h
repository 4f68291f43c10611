// The payload of a telephone event (RFC 4733, 2.3), and which event a key is (3.2).
#pragma once

#include <optional>
#include <span>

#include "platform/kernel/Types.h"

namespace media {

struct TelephoneEvent {
    static constexpr int Size = 4;
    static constexpr UWORD MaxDuration = 0xFFFF;
    static constexpr UBYTE KeyVolume = 10;  // -10 dBm0, usual for keys

    UBYTE event = 0;
    bool end = false;
    UBYTE volume = KeyVolume;  // 0 to 63: minus dBm0
    UWORD duration = 0;        // in time stamp units since the time stamp of the packet

    // The event that `payload` begins with; nothing when it is shorter than one.
    static std::optional<TelephoneEvent> Parse(std::span<const UBYTE> payload);
    void Write(std::span<UBYTE, Size> out) const;

    // '0'-'9', '*', '#', 'A'-'D' (or small letters), '!' for flash: events 0 to 16; -1 for any other
    // character.
    static int OfDigit(char digit);
    // The reverse; 0 for an event that is no key.
    char Digit() const;
};

}  // namespace media
