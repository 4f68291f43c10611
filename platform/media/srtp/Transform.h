// Encryption and authentication of one direction and one protocol: AES_CM and HMAC_SHA1 (RFC 3711, 4.1.1 and
// 4.2.1). It knows keys, not packets. One thread at a time; nothing is allocated, and the keys are wiped when
// it goes.
#pragma once

#include <nettle/aes.h>
#include <nettle/hmac.h>

#include "platform/media/srtp/SessionKeys.h"

namespace srtp {

class Transform {
 public:
    static constexpr size_t MaxTagLength = 10;

    // `lifetime`: how many packets the keys may protect.
    Transform(const SessionKeys& keys, size_t tagLength, std::uint64_t lifetime);
    ~Transform();
    Transform(const Transform&) = delete;
    Transform& operator=(const Transform&) = delete;

    size_t TagLength() const { return tagLength; }

    // Takes a packet off the keys' lifetime. False: they may protect no more.
    bool Spend();

    // Encrypts or decrypts in place, which is the same. `index` has 48 bits, and no two packets of a source
    // share one.
    void Crypt(ULONG ssrc, std::uint64_t index, std::span<UBYTE> payload) const;

    // Writes the tag of `message`, followed by `unsent`: what is authenticated too but stays out of the
    // packet.
    void Sign(std::span<const UBYTE> message, std::span<const UBYTE> unsent, UBYTE* tag);
    // Whether `tag` is theirs, in a time that does not depend on where it differs.
    bool IsAuthentic(std::span<const UBYTE> message, std::span<const UBYTE> unsent, const UBYTE* tag);

 private:
    const size_t tagLength;
    std::uint64_t left;
    std::array<UBYTE, AES_BLOCK_SIZE> salt{};  // a counter block to which source and index are to be added
    aes128_ctx cipher;
    hmac_sha1_ctx mac;
};

}  // namespace srtp
