// The SRTP key block of a Map request: for each direction, local first, a crypto suite (1 byte), then the
// master key and the master salt, each behind a length byte.
#pragma once

#include <array>
#include <span>

#include "platform/kernel/Types.h"

enum MSCryptoAlgorithm : UBYTE {
    NO_CRYPT = 0,
    AES_CM_128_HMAC_SHA1_80 = 1,
    AES_CM_128_HMAC_SHA1_32 = 2,
    F8_128_HMAC_SHA1_80 = 3,
};

// Holds keys for as long as it lives, and wipes them when it ends.
class KeyBlock {
 public:
    static constexpr size_t KeyLength = 16;   // RFC 3711, 8.2: 128-bit master key
    static constexpr size_t SaltLength = 14;  // and 112-bit master salt

    KeyBlock() = default;
    ~KeyBlock();
    KeyBlock(const KeyBlock&) = delete;
    KeyBlock& operator=(const KeyBlock&) = delete;

    // False when the block is cut short or a key or salt has another length than SRTP's; the fields then have
    // no meaning. Bytes behind the block are ignored, and so is the remote suite.
    bool Parse(std::span<const UBYTE> block);

    // Bytes of authentication tag: the short tag has a suite of its own, every other value means the long
    // one.
    int AuthTagLength() const { return loc_algorithm == AES_CM_128_HMAC_SHA1_32 ? 4 : 10; }

    UBYTE loc_algorithm = NO_CRYPT;  // MSCryptoAlgorithm, or any other value
    std::array<UBYTE, KeyLength> loc_key{};
    std::array<UBYTE, SaltLength> loc_salt{};
    std::array<UBYTE, KeyLength> rem_key{};
    std::array<UBYTE, SaltLength> rem_salt{};
};
