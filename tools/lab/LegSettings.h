// How one leg of a call is to be carried, and how users write it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tools/lab/Codec.h"
#include "tools/lab/SrtpKeys.h"

namespace lab {

struct LegSettings {
    Codec codec = Codec::Alaw;
    int packetMs = 20;
    std::optional<SrtpKeys::Suite> srtp = std::nullopt;
    UBYTE flags = 0;  // ControlDatagram::Flag...

    UBYTE Mfpp() const { return FramesPerPacket(codec, packetMs); }
    // "g729, 20 ms, SRTP 80"
    std::string Words() const;
};

// "CODEC[/MS]" for both legs or "CODEC[/MS]:CODEC[/MS]" for the internal and the external one, as
// "alaw/20:g729/30"; 20 ms without a time. Nothing, with the reason in `error`, when it cannot be read or a
// time is not 10 to 60 ms in steps of 10.
std::optional<std::pair<LegSettings, LegSettings>> ParseLegs(std::string_view text, std::string& error);

}  // namespace lab
