// Texts between the system's 32-bit wide characters, the UTF-16 of RAS messages, and the console.
#pragma once

#include <string>
#include <string_view>

namespace h323 {

// At most `longest` code units, never half of a surrogate pair; null gives an empty text. What is no
// character becomes U+FFFD.
std::u16string ToUtf16(const wchar_t* text, std::size_t longest);

// Half a surrogate pair becomes U+FFFD.
std::wstring ToWide(std::u16string_view text);

// UTF-8 without control characters, which become '?'.
std::string ToPrintable(std::u16string_view text);

}  // namespace h323
