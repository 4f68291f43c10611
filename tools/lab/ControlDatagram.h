// One datagram of the call server's control protocol, coded by the lab's own hands:
//   sequence 1, event 1, channel 1 or 2 (from 128 on: 0x80 + high byte, low byte), codec 1, address 4, port
//   2, frames per packet 1, flags 1, extra to the end; numbers big-endian.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/kernel/Types.h"

namespace lab {

enum class ControlEvent : UBYTE { Map, Unmap, Ack, HoldMusic, FreeChan, ConfAdd, ConfRemove, Digit, Null };

struct ControlDatagram {
    static constexpr UWORD MaxChannel = 32767;  // 15 bits travel
    static constexpr UBYTE FlagRelay = 1;
    static constexpr UBYTE FlagBlockDtmf = 2;

    UBYTE seq = 0;
    ControlEvent event = ControlEvent::Null;
    UWORD chan = 0;
    UBYTE comp = 0;
    ULONG addr = 0;  // also a digit's duration [ms]
    UWORD port = 0;  // also a digit's character, or the channel that hosts a conference
    UBYTE mfpp = 0;
    UBYTE flags = 0;
    std::vector<UBYTE> extra;

    std::vector<UBYTE> Encode() const;
    // Nothing when it ends before the port does. What is missing behind the port is 0.
    static std::optional<ControlDatagram> Decode(std::span<const UBYTE> datagram);
    // In words, as "Digit, channel 1, key 5, 120 ms".
    std::string Describe() const;
};

const char* ToText(ControlEvent event);

}  // namespace lab
