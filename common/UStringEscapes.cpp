// Escaping and encoding of UString.
#include <cctype>
#include <cstring>

#include "common/UStringX.h"

namespace {

int Length(const char* text) {
    return text == nullptr ? 0 : static_cast<int>(std::strlen(text));
}

bool IsLetterOrDigit(char byte) {
    return std::isalnum(static_cast<unsigned char>(byte)) != 0;
}

// What stands for one byte in an escaped text, null for the byte itself.
using Escape = const char* (*)(char byte);

const char* EscapeForSlashHex2(char byte) {
    switch (byte) {
        case '(':
            return "\\28";
        case ')':
            return "\\29";
        case '\\':
            return "\\5C";
        default:
            return nullptr;
    }
}

const char* EscapeForSlashHex(char byte) {
    return byte == '*' ? "\\2A" : EscapeForSlashHex2(byte);
}

const char* EscapeForUrlText(char byte) {
    switch (byte) {
        case ' ':
            return "%20";
        case '%':
            return "%25";
        default:
            return nullptr;
    }
}

const char* EscapeForUrlPart(char byte) {
    return byte == '&' ? "%26" : EscapeForUrlText(byte);
}

UString Escaped(const char* text, Escape escape) {
    UString out;
    out.Allocate(Length(text));
    for (; text != nullptr && *text != '\0'; text++) {
        const char* substitute = escape(*text);
        if (substitute != nullptr) {
            out += substitute;
        } else {
            out += *text;
        }
    }
    return out;
}

UString Slashed(const char* text, bool (*needsSlash)(char byte)) {
    UString out;
    out.Allocate(Length(text));
    for (; text != nullptr && *text != '\0'; text++) {
        if (needsSlash(*text)) out += '\\';
        out += *text;
    }
    return out;
}

}  // namespace

UString& UString::SlashHex(const char* text) {
    return *this = Escaped(text, EscapeForSlashHex);
}

UString& UString::SlashHex2(const char* text) {
    return *this = Escaped(text, EscapeForSlashHex2);
}

UString& UString::EscapeMySQL(const char* text) {
    return *this = Slashed(text, [](char byte) { return byte == '\'' || byte == '"' || byte == '\\'; });
}

UString& UString::EscapeShell(const char* text) {
    return *this = Slashed(text, [](char byte) { return !IsLetterOrDigit(byte); });
}

void UString::AppendSafe(const char* text) {
    *this += Escaped(text, EscapeForUrlPart);
}

void UString::AppendSafe2(const char* text) {
    *this += Escaped(text, EscapeForUrlText);
}

UString& UString::URLEncode(UString& out) const {
    return out = Escaped(*this, EscapeForUrlPart);
}
