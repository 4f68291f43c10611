#include <gtest/gtest.h>

#include "tools/lab/SdpAudio.h"

namespace lab {
namespace {

TEST(SdpAudio, ReadsWhatItWrites) {
    SdpAudio sdp;
    sdp.address = SockAddr("127.0.0.1", 40000);
    sdp.crypto.push_back({.tag = 7, .suite = SrtpKeys::Sha1_32, .key = {1, 2, 255}, .salt = {9, 8}});
    const std::string text = sdp.ToText({.codec = Codec::G729, .packetMs = 30});
    for (const char* line : {"m=audio 40000 RTP/SAVP 18\r\n", "a=rtpmap:18 G729/8000\r\n", "a=ptime:30\r\n"})
        EXPECT_NE(text.find(line), std::string::npos) << text;
    const std::optional<SdpAudio> read = SdpAudio::Parse(text);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->address, sdp.address);
    const SdpAudio::Crypto* crypto = read->Find(SrtpKeys::Sha1_32);
    ASSERT_NE(crypto, nullptr);
    EXPECT_EQ(crypto->tag, 7);
    EXPECT_EQ(crypto->key, sdp.crypto.front().key);
    EXPECT_EQ(crypto->salt, sdp.crypto.front().salt);
    EXPECT_EQ(read->Find(SrtpKeys::Sha1_80), nullptr);
}

// Of the key lines only one is whole and of a suite that is known.
TEST(SdpAudio, PassesOverWhatIsOfNoConcern) {
    const std::string key(40, 'A');
    const std::optional<SdpAudio> sdp = SdpAudio::Parse(
        "v=0\nc=IN IP4 10.0.0.9\nm=audio 5004 RTP/SAVP 8\na=crypto:1 AEAD_AES_256_GCM inline:" + key +
        "\na=crypto:2 AES_CM_128_HMAC_SHA1_80 inline:short\na=crypto:3 AES_CM_128_HMAC_SHA1_80 inline:" +
        key + "|2^31\na=crypto:4 AES_CM_128_HMAC_SHA1_80\n");
    ASSERT_TRUE(sdp);
    EXPECT_EQ(sdp->address, SockAddr("10.0.0.9", 5004));
    ASSERT_EQ(sdp->crypto.size(), 1U);
    EXPECT_EQ(sdp->crypto.front().tag, 3);
    for (const char* text :
         {"", "m=audio 5004 RTP/AVP 8\n", "c=IN IP4 10.0.0.9\nm=audio 0 RTP/AVP 8\n",
          "c=IN IP4 10.0.0.9\nm=audio 70000 RTP/AVP 8\n", "c=IN IP4 host\nm=audio 9 RTP/AVP 8\n"})
        EXPECT_FALSE(SdpAudio::Parse(text)) << text;
}

}  // namespace
}  // namespace lab
