#include "tests/h323/Captures.h"

std::vector<std::uint8_t> FromHex(const std::string& hex) {
    std::vector<std::uint8_t> octets;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        octets.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return octets;
}

std::string ToHex(const std::vector<std::uint8_t>& octets) {
    std::string hex;
    for (const std::uint8_t octet : octets) {
        hex += "0123456789abcdef"[octet >> 4];
        hex += "0123456789abcdef"[octet & 15];
    }
    return hex;
}
