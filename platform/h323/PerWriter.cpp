#include "platform/h323/PerWriter.h"

#include <bit>

namespace h323 {

void PerWriter::Bit(bool bit) {
    if (used == 8) {
        octets_written.push_back(0);
        used = 0;
    }
    if (bit) octets_written.back() |= static_cast<std::uint8_t>(0x80 >> used);
    ++used;
}

void PerWriter::Bits(std::uint32_t value, unsigned count) {
    while (count > 0) Bit((value >> --count & 1) != 0);
}

void PerWriter::Align() {
    used = 8;
}

void PerWriter::Octets(std::span<const std::uint8_t> octets) {
    for (const std::uint8_t octet : octets) Bits(octet, 8);
}

void PerWriter::Integer(std::uint32_t value, std::uint32_t low, std::uint32_t high) {
    if (value < low || value > high) return Fail();
    const std::uint32_t span = high - low;
    const std::uint32_t offset = value - low;
    if (span < 255) return Bits(offset, static_cast<unsigned>(std::bit_width(span)));
    if (span > 65535) return LongInteger(offset);
    Align();
    Bits(offset, span == 255 ? 8 : 16);
}

// X.691, 11.5.7.4: more than 64K values go out in as few octets as they need, behind the number of octets.
void PerWriter::LongInteger(std::uint32_t offset) {
    const unsigned count = offset == 0 ? 1 : (static_cast<unsigned>(std::bit_width(offset)) + 7) / 8;
    Bits(count - 1, 2);
    Align();
    Bits(offset, count * 8);
}

void PerWriter::Length(std::size_t length) {
    if (length > 0x3fff) return Fail();
    Align();
    if (length < 0x80) return Bits(static_cast<std::uint32_t>(length), 8);
    Bits(static_cast<std::uint32_t>(length) | 0x8000, 16);
}

void PerWriter::SmallNumber(std::uint32_t number) {
    if (number < 64) return Bits(number, 7);
    Bit(true);
    const unsigned count = (static_cast<unsigned>(std::bit_width(number)) + 7) / 8;
    Length(count);
    Bits(number, count * 8);
}

void PerWriter::SmallLength(std::size_t length) {
    if (length == 0) return Fail();
    if (length <= 64) return Bits(static_cast<std::uint32_t>(length - 1), 7);
    Bit(true);
    Length(length);
}

void PerWriter::OpenType(PerWriter& content) {
    if (content.Failed()) return Fail();
    if (content.octets_written.empty()) content.octets_written.push_back(0);
    Length(content.octets_written.size());
    Octets(content.octets_written);
}

std::vector<std::uint8_t> PerWriter::Take() {
    if (failed) octets_written.clear();
    used = 8;
    return std::move(octets_written);
}

}  // namespace h323
