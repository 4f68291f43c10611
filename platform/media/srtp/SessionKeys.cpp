#include "platform/media/srtp/SessionKeys.h"

#include <nettle/aes.h>
#include <nettle/ctr.h>
#include <nettle/nettle-meta.h>

#include <algorithm>
#include <cstring>

namespace srtp {

namespace {

// RFC 3711, 4.3.1 and 4.3.2: what a key is for. Those of SRTCP follow those of SRTP.
enum Label : UBYTE { Cipher = 0, Mac = 1, Salt = 2, FirstOfRtcp = 3 };

constexpr size_t LabelAt = 7;  // in the salt: above the 48 bits of an index that is always 0 here

// The pseudo-random function of AES-CM (RFC 3711, 4.3.3): as much of its keystream as is wanted.
void DeriveKey(const aes128_ctx& master, std::span<const UBYTE, SessionKeys::SaltSize> salt, int label,
               std::span<UBYTE> key) {
    std::array<UBYTE, AES_BLOCK_SIZE> counter{};
    std::copy(salt.begin(), salt.end(), counter.begin());
    counter[LabelAt] ^= static_cast<UBYTE>(label);
    std::fill(key.begin(), key.end(), UBYTE{0});
    ctr_crypt(&master, nettle_aes128.encrypt, AES_BLOCK_SIZE, counter.data(), key.size(), key.data(),
              key.data());
}

}  // namespace

SessionKeys SessionKeys::Derive(Protocol protocol, std::span<const UBYTE, CipherSize> masterKey,
                                std::span<const UBYTE, SaltSize> masterSalt) {
    const int first = protocol == Protocol::Rtp ? 0 : FirstOfRtcp;
    SessionKeys keys;
    aes128_ctx master;
    aes128_set_encrypt_key(&master, masterKey.data());
    DeriveKey(master, masterSalt, first + Cipher, keys.cipher);
    DeriveKey(master, masterSalt, first + Mac, keys.mac);
    DeriveKey(master, masterSalt, first + Salt, keys.salt);
    explicit_bzero(&master, sizeof master);
    return keys;
}

SessionKeys::~SessionKeys() {
    explicit_bzero(this, sizeof *this);
}

}  // namespace srtp
