// The session keys of one protocol, derived from the master key and salt (RFC 3711, 4.3, at key derivation
// rate 0). They depend on no source, so a session derives them once. Wiped when they go.
#pragma once

#include <array>
#include <span>

#include "platform/kernel/Types.h"

namespace srtp {

enum class Protocol { Rtp, Rtcp };

struct SessionKeys {
    static constexpr size_t CipherSize = 16;
    static constexpr size_t SaltSize = 14;
    static constexpr size_t MacSize = 20;

    static SessionKeys Derive(Protocol protocol, std::span<const UBYTE, CipherSize> masterKey,
                              std::span<const UBYTE, SaltSize> masterSalt);
    ~SessionKeys();

    std::array<UBYTE, CipherSize> cipher;
    std::array<UBYTE, SaltSize> salt;
    std::array<UBYTE, MacSize> mac;
};

}  // namespace srtp
