// Text building for the report: printf formats into strings, HTML escapes and Base64 (RFC 4648, 4).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace lab {

[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);
// For text and for attribute values; what is not printable ASCII or UTF-8 becomes a question mark.
std::string EscapeHtml(std::string_view text);
std::string Base64(std::span<const std::uint8_t> bytes);

}  // namespace lab
