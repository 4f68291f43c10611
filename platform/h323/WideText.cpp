#include "platform/h323/WideText.h"

namespace h323 {
namespace {

constexpr char32_t Replacement = 0xfffd;

bool IsHighSurrogate(char32_t c) {
    return c >= 0xd800 && c <= 0xdbff;
}

bool IsLowSurrogate(char32_t c) {
    return c >= 0xdc00 && c <= 0xdfff;
}

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
        return;
    }
    constexpr unsigned Leads[] = {0, 0xc0, 0xe0, 0xf0};
    const int trailing = c < 0x800 ? 1 : (c < 0x10000 ? 2 : 3);
    out += static_cast<char>(Leads[trailing] | c >> (6 * trailing));
    for (int i = trailing - 1; i >= 0; --i) out += static_cast<char>(0x80 | (c >> (6 * i) & 0x3f));
}

}  // namespace

std::u16string ToUtf16(const wchar_t* text, std::size_t longest) {
    std::u16string out;
    for (; text != nullptr && *text != 0; ++text) {
        auto c = static_cast<char32_t>(*text);
        if (c > 0x10ffff || IsHighSurrogate(c) || IsLowSurrogate(c)) c = Replacement;
        if (out.size() + (c > 0xffff ? 2 : 1) > longest) break;
        if (c > 0xffff) {
            out += static_cast<char16_t>(0xd7c0 + (c >> 10));
            c = 0xdc00 + (c & 0x3ff);
        }
        out += static_cast<char16_t>(c);
    }
    return out;
}

std::wstring ToWide(std::u16string_view text) {
    std::wstring out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (IsHighSurrogate(c) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            c = ((c - 0xd7c0) << 10) + (text[++i] - 0xdc00U);
        } else if (IsHighSurrogate(c) || IsLowSurrogate(c)) {
            c = Replacement;
        }
        out += static_cast<wchar_t>(c);
    }
    return out;
}

std::string ToPrintable(std::u16string_view text) {
    std::string out;
    for (const wchar_t c : ToWide(text)) {
        const bool control = c < 0x20 || (c >= 0x7f && c < 0xa0);
        AppendUtf8(out, control ? U'?' : static_cast<char32_t>(c));
    }
    return out;
}

}  // namespace h323
