#include "platform/h323/RasPrinter.h"

#include <algorithm>

#include "platform/h323/WideText.h"

namespace h323 {

std::string RasPrinter::Show(const std::string& value) {
    std::string shown = "\"";
    for (const char c : value) shown += c >= ' ' && c <= '~' ? c : '?';
    return shown + '"';
}

std::string RasPrinter::Show(const std::u16string& value) {
    return '"' + ToPrintable(value) + '"';
}

std::string RasPrinter::Show(std::span<const std::uint8_t> octets) {
    constexpr std::string_view Digits = "0123456789abcdef";
    std::string shown;
    for (const std::uint8_t octet : octets) {
        shown += Digits[octet >> 4];
        shown += Digits[octet & 15];
    }
    return shown;
}

std::string RasPrinter::ShowReadable(const std::vector<std::uint8_t>& octets) {
    const bool text =
        std::all_of(octets.begin(), octets.end(), [](std::uint8_t c) { return c >= ' ' && c <= '~'; });
    return text ? Show(std::string(octets.begin(), octets.end())) : Show(std::span(octets));
}

std::string RasPrinter::Show(const FixedOctets<4>& ip) {
    std::string shown;
    for (const std::uint8_t octet : ip.octets) shown += (shown.empty() ? "" : ".") + std::to_string(octet);
    return shown;
}

// X.690, 8.19: seven bits an octet, bit 8 on all but the last of a component; the first stands for two
// components.
std::string RasPrinter::Show(const ObjectId& value) {
    std::string shown;
    std::uint64_t component = 0;
    for (const std::uint8_t octet : value.contents) {
        component = component << 7 | (octet & 0x7f);
        if ((octet & 0x80) != 0) continue;
        if (shown.empty()) {
            const std::uint64_t first = std::min<std::uint64_t>(component / 40, 2);
            shown = std::to_string(first);
            component -= first * 40;
        }
        shown += '.' + std::to_string(component);
        component = 0;
    }
    return shown;
}

std::string RasPrinter::Show(const UnknownAlternative& value) {
    return std::to_string(value.index) + " " + Show(std::span(value.content));
}

void RasPrinter::Line(const char* name, const std::string& value) {
    text.append(2 * depth, ' ').append(name);
    if (!value.empty()) text.append(" ").append(value);
    text += '\n';
}

}  // namespace h323
