#include "tools/lab/LegSettings.h"

#include <charconv>

namespace lab {

namespace {

constexpr int LongestPacketMs = 60;

std::optional<LegSettings> ParseLeg(std::string_view text, std::string& error) {
    const std::size_t slash = text.find('/');
    const std::optional<Codec> codec = CodecFromName(text.substr(0, slash));
    if (!codec) {
        error = "'" + std::string(text.substr(0, slash)) + "' is no codec: use alaw, ulaw or g729.";
        return std::nullopt;
    }
    LegSettings leg{.codec = *codec};
    if (slash == std::string_view::npos) return leg;
    const std::string_view digits = text.substr(slash + 1);
    const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), leg.packetMs);
    const bool number = failure == std::errc() && end == digits.data() + digits.size();
    if (number && leg.packetMs >= FrameMs && leg.packetMs <= LongestPacketMs && leg.packetMs % FrameMs == 0)
        return leg;
    error = "'" + std::string(digits) + "' is no packet time: use 10, 20, 30, 40, 50 or 60 (ms).";
    return std::nullopt;
}

}  // namespace

std::string LegSettings::Words() const {
    std::string text = CodecName(codec) + ", " + std::to_string(packetMs) + " ms";
    if (srtp) text += *srtp == SrtpKeys::Sha1_32 ? ", SRTP 32" : ", SRTP 80";
    return text;
}

std::optional<std::pair<LegSettings, LegSettings>> ParseLegs(std::string_view text, std::string& error) {
    const std::size_t colon = text.find(':');
    const std::optional<LegSettings> internal = ParseLeg(text.substr(0, colon), error);
    if (!internal) return std::nullopt;
    if (colon == std::string_view::npos) return std::pair(*internal, *internal);
    const std::optional<LegSettings> external = ParseLeg(text.substr(colon + 1), error);
    if (!external) return std::nullopt;
    return std::pair(*internal, *external);
}

}  // namespace lab
