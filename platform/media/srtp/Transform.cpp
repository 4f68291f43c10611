#include "platform/media/srtp/Transform.h"

#include <nettle/ctr.h>
#include <nettle/memops.h>
#include <nettle/nettle-meta.h>

#include <algorithm>
#include <cstring>

#include "platform/media/ByteOrder.h"

namespace srtp {

namespace {

// In a counter block (RFC 3711, 4.1.1); the last two bytes count the blocks of a packet.
constexpr size_t SsrcAt = 4;
constexpr size_t IndexHighAt = 8;  // 16 bits
constexpr size_t IndexLowAt = 10;  // 32 bits

void Xor32(UBYTE* at, ULONG value) {
    media::Put32(at, media::Get32(at) ^ value);
}

}  // namespace

Transform::Transform(const SessionKeys& keys, size_t tagLength, std::uint64_t lifetime)
    : tagLength(tagLength), left(lifetime) {
    std::copy(keys.salt.begin(), keys.salt.end(), salt.begin());
    aes128_set_encrypt_key(&cipher, keys.cipher.data());
    hmac_sha1_set_key(&mac, keys.mac.size(), keys.mac.data());
}

Transform::~Transform() {
    explicit_bzero(salt.data(), salt.size());
    explicit_bzero(&cipher, sizeof cipher);
    explicit_bzero(&mac, sizeof mac);
}

bool Transform::Spend() {
    if (left == 0) return false;
    left--;
    return true;
}

void Transform::Crypt(ULONG ssrc, std::uint64_t index, std::span<UBYTE> payload) const {
    auto counter = salt;
    Xor32(&counter[SsrcAt], ssrc);
    counter[IndexHighAt] ^= static_cast<UBYTE>(index >> 40);
    counter[IndexHighAt + 1] ^= static_cast<UBYTE>(index >> 32);
    Xor32(&counter[IndexLowAt], static_cast<ULONG>(index));
    ctr_crypt(&cipher, nettle_aes128.encrypt, AES_BLOCK_SIZE, counter.data(), payload.size(), payload.data(),
              payload.data());
}

void Transform::Sign(std::span<const UBYTE> message, std::span<const UBYTE> unsent, UBYTE* tag) {
    hmac_sha1_update(&mac, message.size(), message.data());
    hmac_sha1_update(&mac, unsent.size(), unsent.data());
    hmac_sha1_digest(&mac, tagLength, tag);
}

bool Transform::IsAuthentic(std::span<const UBYTE> message, std::span<const UBYTE> unsent, const UBYTE* tag) {
    std::array<UBYTE, MaxTagLength> expected;
    Sign(message, unsent, expected.data());
    return memeql_sec(expected.data(), tag, tagLength) != 0;
}

}  // namespace srtp
