// Real RAS datagrams as test data.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Capture {
    std::string name;
    std::string hex;
    std::vector<std::string> components;  // "name value" as the decoder's listing has them, in order
};

const std::vector<Capture>& Captures();

std::vector<std::uint8_t> FromHex(const std::string& hex);
std::string ToHex(const std::vector<std::uint8_t>& octets);
