// Keys and keystream by the test vectors of RFC 3711 (B.2, B.3), and the end of a key's life.
#include <gtest/gtest.h>

#include "platform/media/srtp/Transform.h"
#include "tests/media/Packets.h"

namespace {

using media_test::Bytes;
using media_test::Hex;
using srtp::SessionKeys;
using srtp::Transform;

template <size_t Size>
std::array<UBYTE, Size> Fixed(const std::string& text) {
    const Bytes bytes = Hex(text);
    EXPECT_EQ(bytes.size(), Size);
    std::array<UBYTE, Size> fixed{};
    std::copy(bytes.begin(), bytes.end(), fixed.begin());
    return fixed;
}

TEST(TestTransform, KeysAreDerivedAsInTheStandard) {
    const auto keys = SessionKeys::Derive(srtp::Protocol::Rtp, Fixed<16>("E1F97A0D3E018BE0D64FA32C06DE4139"),
                                          Fixed<14>("0EC675AD498AFEEBB6960B3AABE6"));
    EXPECT_EQ(keys.cipher, Fixed<16>("C61E7A93744F39EE10734AFE3FF7A087"));
    EXPECT_EQ(keys.salt, Fixed<14>("30CBBC08863D8C85D49DB34A9AE1"));
    EXPECT_EQ(keys.mac, Fixed<20>("CEBE321F6FF7716B6FD4AB49AF256A156D38BAA4"));
}

TEST(TestTransform, KeystreamIsThatOfTheStandardFarIntoThePacket) {
    const SessionKeys keys{.cipher = Fixed<16>("2B7E151628AED2A6ABF7158809CF4F3C"),
                           .salt = Fixed<14>("F0F1F2F3F4F5F6F7F8F9FAFBFCFD"),
                           .mac = {}};
    const Transform transform(keys, 10, 1);
    Bytes keystream(size_t{0xFF02} * 16);
    transform.Crypt(0, 0, keystream);
    const std::pair<size_t, const char*> blocks[] = {
        {0x0000, "E03EAD0935C95E80E166B16DD92B4EB4"}, {0x0001, "D23513162B02D0F72A43A2FE4A5F97AB"},
        {0x0002, "41E95B3BB0A2E8DD477901E4FCA894C0"}, {0xFEFF, "EC8CDF7398607CB0F2D21675EA9EA1E4"},
        {0xFF00, "362B7C3C6773516318A077D7FC5073AE"}, {0xFF01, "6A2CC3787889374FBEB4C81B17BA6C44"}};
    for (const auto& [block, expected] : blocks) {
        const auto at = keystream.begin() + static_cast<long>(block * 16);
        EXPECT_EQ(Bytes(at, at + 16), Hex(expected)) << block;
    }
}

TEST(TestTransform, KeysProtectNoMoreThanTheirLifetime) {
    Transform transform(SessionKeys{}, 4, 2);
    EXPECT_TRUE(transform.Spend());
    EXPECT_TRUE(transform.Spend());
    EXPECT_FALSE(transform.Spend());
    EXPECT_FALSE(transform.Spend());
}

}  // namespace
