// A session description (RFC 4566) of one audio stream, as far as a load run needs it.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kernel/SockAddr.h"
#include "tools/lab/LegSettings.h"

namespace lab {

struct SdpAudio {
    // RFC 4568: the keys with which the describing side sends.
    struct Crypto {
        int tag = 1;
        SrtpKeys::Suite suite = SrtpKeys::Sha1_80;
        std::array<UBYTE, 16> key{};
        std::array<UBYTE, 14> salt{};
    };

    SockAddr address;  // where the describing side listens
    std::vector<Crypto> crypto;

    // A description of a leg that listens at `address` and sends with the first of `crypto`, if any.
    std::string ToText(const LegSettings& leg) const;
    // What another side wrote; lines of no concern, and crypto lines with other suites or lifetimes of their
    // own form, are passed over. Nothing when it names no address and port.
    static std::optional<SdpAudio> Parse(std::string_view text);

    const Crypto* Find(SrtpKeys::Suite suite) const;
};

// The codec's name in rtpmap attributes.
const char* RtpmapName(Codec codec);

}  // namespace lab
