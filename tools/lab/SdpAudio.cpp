#include "tools/lab/SdpAudio.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr std::string_view Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t InlineChars = 40;  // of the 30 bytes of key and salt

const char* SuiteName(SrtpKeys::Suite suite) {
    return suite == SrtpKeys::Sha1_32 ? "AES_CM_128_HMAC_SHA1_32" : "AES_CM_128_HMAC_SHA1_80";
}

bool DecodeInline(std::string_view text, SdpAudio::Crypto& into) {
    if (text.size() < InlineChars) return false;
    std::array<UBYTE, 30> bytes{};
    ULONG bits = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < InlineChars; ++i) {
        const std::size_t digit = Digits.find(text[i]);
        if (digit == std::string_view::npos) return false;
        bits = bits << 6 | static_cast<ULONG>(digit);
        if (i % 4 != 3) continue;
        for (const int shift : {16, 8, 0}) bytes[count++] = static_cast<UBYTE>(bits >> shift);
    }
    std::copy_n(bytes.begin(), into.key.size(), into.key.begin());
    std::copy_n(bytes.begin() + into.key.size(), into.salt.size(), into.salt.begin());
    return true;
}

// "a=crypto:1 AES_CM_128_HMAC_SHA1_80 inline:<40 characters>[|lifetime]"
std::optional<SdpAudio::Crypto> ParseCrypto(const std::string& line) {
    SdpAudio::Crypto crypto;
    std::array<char, 64> suite{};
    std::array<char, 128> words{};
    if (std::sscanf(line.c_str(), "a=crypto:%d %63s inline:%127s", &crypto.tag, suite.data(), words.data()) !=
        3)
        return std::nullopt;
    for (const SrtpKeys::Suite known : {SrtpKeys::Sha1_80, SrtpKeys::Sha1_32}) {
        if (std::string_view(suite.data()) != SuiteName(known)) continue;
        crypto.suite = known;
        if (DecodeInline(words.data(), crypto)) return crypto;
    }
    return std::nullopt;
}

}  // namespace

const char* RtpmapName(Codec codec) {
    return codec == Codec::G729 ? "G729" : codec == Codec::Ulaw ? "PCMU" : "PCMA";
}

std::string SdpAudio::ToText(const LegSettings& leg) const {
    const std::string type = std::to_string(PayloadTypeOf(leg.codec));
    const std::string host = "IN IP4 " + address.AddressStr() + "\r\n";
    std::string text = "v=0\r\no=- 1 1 " + host + "s=-\r\nc=" + host + "t=0 0\r\nm=audio " +
                       std::to_string(address.Port()) + (crypto.empty() ? " RTP/AVP " : " RTP/SAVP ") + type +
                       "\r\na=rtpmap:" + type + " " + RtpmapName(leg.codec) + "/8000\r\n";
    if (leg.codec == Codec::G729) text += "a=fmtp:" + type + " annexb=no\r\n";
    text += "a=ptime:" + std::to_string(leg.packetMs) + "\r\na=sendrecv\r\n";
    if (crypto.empty()) return text;
    const Crypto& ours = crypto.front();
    std::array<UBYTE, 30> bytes{};
    std::copy(ours.salt.begin(), ours.salt.end(), std::copy(ours.key.begin(), ours.key.end(), bytes.begin()));
    return text + "a=crypto:" + std::to_string(ours.tag) + " " + SuiteName(ours.suite) +
           " inline:" + Base64(bytes) + "\r\n";
}

std::optional<SdpAudio> SdpAudio::Parse(std::string_view text) {
    std::istringstream lines{std::string(text)};
    std::string host;
    int port = 0;
    SdpAudio sdp;
    for (std::string line; std::getline(lines, line);) {
        std::array<char, 64> word{};
        if (std::sscanf(line.c_str(), "c=IN IP4 %63[0-9.]", word.data()) == 1) host = word.data();
        std::sscanf(line.c_str(), "m=audio %5d", &port);
        if (const std::optional<Crypto> crypto = ParseCrypto(line)) sdp.crypto.push_back(*crypto);
    }
    if (port <= 0 || port > UINT16_MAX) return std::nullopt;
    sdp.address = SockAddr(host.c_str(), static_cast<UWORD>(port));
    if (sdp.address.Address() == 0) return std::nullopt;
    return sdp;
}

const SdpAudio::Crypto* SdpAudio::Find(SrtpKeys::Suite suite) const {
    const auto found = std::find_if(crypto.begin(), crypto.end(),
                                    [suite](const Crypto& line) { return line.suite == suite; });
    return found == crypto.end() ? nullptr : &*found;
}

}  // namespace lab
