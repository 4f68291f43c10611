#include "common/UStringX.h"

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <functional>
#include <string_view>

#include "common/ConvertUTF.h"

static_assert(sizeof(wchar_t) == sizeof(UTF32), "the wide form holds one code point a wchar_t");

namespace {

char EmptyText[1] = {};
wchar_t EmptyWideText[1] = {};

constexpr int CapacitySteps[] = {64, 128, 256, 1024, 4096, 8192};

int Length(const char* text) {
    return text == nullptr ? 0 : static_cast<int>(std::strlen(text));
}

bool IsLetter(char byte) {
    return std::isalpha(static_cast<unsigned char>(byte)) != 0;
}
bool IsDigit(char byte) {
    return std::isdigit(static_cast<unsigned char>(byte)) != 0;
}
bool IsBlank(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

// Keeps the bytes that `keep` accepts, in place.
void Filter(char* text, bool (*keep)(char byte)) {
    char* to = text;
    for (; *text != '\0'; text++) {
        if (keep(*text)) *to++ = *text;
    }
    *to = '\0';
}

}  // namespace

UString::UString(const UString& other) : OSListObj(other) {
    Allocate(other.GetLength());
    Assign(other, other.GetLength());
}

UString::UString(const char* text) {
    if (text != nullptr) Assign(text, Length(text));
}

UString::UString(const unsigned char* text) : UString(reinterpret_cast<const char*>(text)) {}

UString::UString(const wchar_t* text) {
    AssignWide(text);
}

UString& UString::operator=(const UString& other) {
    if (this != &other) Assign(other.buffer.get(), other.GetLength());
    return *this;
}

UString& UString::operator=(const char* text) {
    Assign(text, Length(text));
    return *this;
}

UString& UString::operator=(const unsigned char* text) {
    return *this = reinterpret_cast<const char*>(text);
}

UString& UString::operator=(const wchar_t* text) {
    AssignWide(text);
    return *this;
}

UString::operator char*() const {
    return buffer == nullptr ? EmptyText : buffer.get();
}

UString::operator wchar_t*() {
    if (IsEmpty()) return EmptyWideText;
    if (wbuffer == nullptr || dirty) {
        const int length = GetLength();
        wAllocate(length);
        const auto* from = reinterpret_cast<const UTF8*>(buffer.get());
        auto* const start = reinterpret_cast<UTF32*>(wbuffer.get());
        UTF32* to = start;
        ConvertUTF8toUTF32(&from, from + length, &to, start + length, lenientConversion);
        *to = 0;
        dirty = false;
    }
    return wbuffer.get();
}

int UString::GetLength() const {
    return Length(buffer.get());
}

bool UString::StartsWith(const char* prefix) const {
    return std::strncmp(*this, prefix, std::strlen(prefix)) == 0;
}

char* UString::Mid(int index) const {
    return index >= GetLength() ? EmptyText : buffer.get() + index;
}

UString& UString::operator+=(const UString& other) {
    Append(other, other.GetLength());
    return *this;
}

UString& UString::operator+=(const char* text) {
    if (text != nullptr) Append(text, Length(text));
    return *this;
}

UString& UString::operator+=(char byte) {
    Append(&byte, 1);
    return *this;
}

void UString::AddStripped(const char* text) {
    if (text == nullptr) return;
    UString letters(text);
    Filter(letters, IsLetter);
    *this += letters;
}

int UString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = vFormat(format, args);
    va_end(args);
    return length;
}

int UString::vFormat(const char* format, va_list args) {
    char* formatted = nullptr;
    const int length = vasprintf(&formatted, format, args);
    if (length < 0) {
        Assign(nullptr, 0);
        return 0;
    }
    const std::unique_ptr<char, decltype(&std::free)> owner(formatted, &std::free);
    constexpr int Reserve = 10;
    Allocate(length + Reserve);
    Assign(formatted, Length(formatted));
    return length;
}

bool UString::fgets(FILE* stream) {
    constexpr int LeastRoom = 512;
    Allocate(LeastRoom);
    if (::fgets(buffer.get(), buffer_size, stream) == nullptr) {
        // After an error what was read so far stands in the buffer without a terminator.
        if (ferror(stream) != 0) Assign(nullptr, 0);
        return false;
    }
    buffer[std::strcspn(buffer.get(), "\n")] = '\0';
    dirty = true;
    return true;
}

bool UString::Replace(const char* find, const char* repl) {
    int at = 0;
    return ReplaceFrom(at, find, repl);
}

bool UString::ReplaceAll(const char* find, const char* repl) {
    const UString what(find);
    const UString with(repl);
    if (what.IsEmpty()) return false;
    // A longer replacement can make new matches for ever even where it does not contain `find` (ab by bbaa in
    // aab), so the searches that start over are as many as the text had places for a match.
    int restarts = with.GetLength() > what.GetLength() ? GetLength() : INT_MAX;
    if (std::strstr(with, what) != nullptr) restarts = 0;
    bool replaced = false;
    for (int at = 0; ReplaceFrom(at, what, with); replaced = true) {
        if (restarts > 0) {
            restarts--;
            at = 0;
        }
    }
    return replaced;
}

// Replaces the first `find` at or behind `at`, and moves `at` behind the replacement.
bool UString::ReplaceFrom(int& at, const char* find, const char* repl) {
    if (Length(find) == 0 || IsEmpty()) return false;
    const char* found = std::strstr(buffer.get() + at, find);
    if (found == nullptr) return false;
    UString result;
    result.Append(buffer.get(), static_cast<int>(found - buffer.get()));
    result += repl;
    at = result.GetLength();
    result += found + Length(find);
    *this = result;
    return true;
}

void UString::StripNonNumeric() {
    if (buffer != nullptr) Filter(buffer.get(), IsDigit);
    dirty = true;
}

void UString::Trim() {
    if (buffer == nullptr) return;
    std::string_view text(buffer.get());
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    Assign(text.data(), static_cast<int>(text.size()));
}

void UString::Allocate(int length) {
    if (buffer != nullptr && buffer_size > length) return;
    const int capacity = LengthRound(length);
    auto grown = std::make_unique<char[]>(static_cast<std::size_t>(capacity));
    std::memcpy(grown.get(), static_cast<const char*>(*this), static_cast<std::size_t>(GetLength()));
    buffer = std::move(grown);
    buffer_size = capacity;
}

void UString::wAllocate(int length) {
    if (wbuffer != nullptr && wbuffer_size > length) return;
    const int capacity = LengthRound(length);
    auto grown = std::make_unique<wchar_t[]>(static_cast<std::size_t>(capacity));
    if (wbuffer != nullptr) std::wcscpy(grown.get(), wbuffer.get());
    wbuffer = std::move(grown);
    wbuffer_size = capacity;
}

void UString::Free() {
    buffer.reset();
    buffer_size = 0;
    dirty = true;
}

void UString::Init() {
    Free();
    wbuffer.reset();
    wbuffer_size = 0;
}

int UString::LengthRound(int length) {
    const int need = length + 1;
    for (const int step : CapacitySteps) {
        if (step > need) return step;
    }
    return need;
}

// `text` may point into the own buffer: it then fits, so that Allocate leaves the buffer in place.
void UString::Assign(const char* text, int length) {
    dirty = true;
    if (text == nullptr) {
        if (buffer != nullptr) buffer[0] = '\0';
        return;
    }
    Allocate(length);
    std::memmove(buffer.get(), text, static_cast<std::size_t>(length));
    buffer[length] = '\0';
}

void UString::AssignWide(const wchar_t* text) {
    if (text == nullptr) {
        Assign(nullptr, 0);
        return;
    }
    constexpr std::size_t MaxBytes = 4;  // of a code point
    const std::size_t length = std::wcslen(text);
    Allocate(static_cast<int>(length * MaxBytes));
    const auto* from = reinterpret_cast<const UTF32*>(text);
    auto* const start = reinterpret_cast<UTF8*>(buffer.get());
    UTF8* to = start;
    ConvertUTF32toUTF8(&from, from + length, &to, start + length * MaxBytes, lenientConversion);
    *to = '\0';
    dirty = true;
}

void UString::Append(const char* text, int length) {
    const int old = GetLength();
    const bool own = buffer != nullptr && !std::less<>()(text, buffer.get()) &&
                     std::less<>()(text, buffer.get() + buffer_size);
    const std::ptrdiff_t offset = own ? text - buffer.get() : 0;
    Allocate(old + length);
    std::memmove(buffer.get() + old, own ? buffer.get() + offset : text, static_cast<std::size_t>(length));
    buffer[old + length] = '\0';
    dirty = true;
}
