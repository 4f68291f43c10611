// Text building for the report.
#include "tools/lab/demo/Text.h"

#include <cstdarg>
#include <cstdio>

namespace lab {

namespace {

std::string FormatList(const char* format, va_list args) {
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

}  // namespace

std::string Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string text = FormatList(format, args);
    va_end(args);
    return text;
}

std::string EscapeHtml(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        if (c == '&') {
            escaped += "&amp;";
        } else if (c == '<') {
            escaped += "&lt;";
        } else if (c == '>') {
            escaped += "&gt;";
        } else if (c == '"') {
            escaped += "&quot;";
        } else {
            const auto byte = static_cast<unsigned char>(c);
            escaped += (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F ? '?' : c;
        }
    }
    return escaped;
}

std::string Base64(std::span<const std::uint8_t> bytes) {
    static constexpr char Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const size_t have = std::min<size_t>(3, bytes.size() - at);
        std::uint32_t group = bytes[at] << 16;
        if (have > 1) group |= bytes[at + 1] << 8;
        if (have > 2) group |= bytes[at + 2];
        for (size_t digit = 0; digit < 4; ++digit) {
            text += digit <= have ? Digits[(group >> (18 - 6 * digit)) & 0x3F] : '=';
        }
    }
    return text;
}

}  // namespace lab
