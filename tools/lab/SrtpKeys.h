// The SRTP master keys of one leg, as a Map request carries them and as the lab's end uses them.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/media/SrtpSession.h"

namespace lab {

// "Local" is the module's side: it sends with the local keys and receives with the remote ones.
struct SrtpKeys {
    enum Suite : UBYTE { None = 0, Sha1_80 = 1, Sha1_32 = 2 };

    Suite suite = Sha1_80;
    std::array<UBYTE, 16> localKey{};
    std::array<UBYTE, 14> localSalt{};
    std::array<UBYTE, 16> remoteKey{};
    std::array<UBYTE, 14> remoteSalt{};

    // Fresh keys from the system's random source.
    static SrtpKeys Random(Suite suite);
    // "80" or "32": the bits of the authentication tag.
    static std::optional<Suite> SuiteFromName(std::string_view name);

    int TagLength() const { return suite == Sha1_32 ? 4 : 10; }
    // The 66 bytes that follow a Map request: for each side the suite, the key with its length, the salt with
    // its own.
    std::vector<UBYTE> KeyBlock() const;

    // The lab's end: what it sends, and what it receives.
    std::unique_ptr<media::SrtpSession> Outbound() const;
    std::unique_ptr<media::SrtpSession> Inbound() const;
};

}  // namespace lab
