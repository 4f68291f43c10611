#include "platform/h323/PerReader.h"

#include <bit>

namespace h323 {

void PerReader::Fail() {
    failed = true;
    position = Size();
}

bool PerReader::Bit() {
    return Bits(1) != 0;
}

std::uint32_t PerReader::Bits(unsigned count) {
    if (count > Size() - position) Fail();
    if (failed) return 0;
    std::uint32_t value = 0;
    for (; count > 0; --count, ++position) {
        value = value << 1 | (octets[position / 8] >> (7 - position % 8) & 1U);
    }
    return value;
}

void PerReader::Align() {
    position = (position + 7) / 8 * 8;
}

std::span<const std::uint8_t> PerReader::Octets(std::size_t count) {
    if (position % 8 != 0 || count > (Size() - position) / 8) Fail();
    if (failed) return {};
    const std::size_t first = position / 8;
    position += count * 8;
    return octets.subspan(first, count);
}

std::uint32_t PerReader::Integer(std::uint32_t low, std::uint32_t high) {
    const std::uint32_t span = high - low;
    std::uint32_t offset = 0;
    if (span < 255) {
        offset = Bits(static_cast<unsigned>(std::bit_width(span)));
    } else {
        const unsigned count = span > 65535 ? Bits(2) + 1 : (span == 255 ? 1 : 2);
        Align();
        offset = Bits(count * 8);
    }
    if (offset > span) Fail();
    return failed ? low : low + offset;
}

std::size_t PerReader::Length() {
    Align();
    const std::uint32_t first = Bits(8);
    if (first < 0x80) return first;
    if (first >= 0xc0) Fail();
    const std::uint32_t second = Bits(8);
    return failed ? 0 : (first & 0x3f) << 8 | second;
}

std::uint32_t PerReader::SmallNumber() {
    if (!Bit()) return Bits(6);
    const std::size_t count = Length();
    if (count < 1 || count > 2) Fail();
    return failed ? 0 : Bits(static_cast<unsigned>(count) * 8);
}

std::size_t PerReader::SmallLength() {
    if (!Bit()) return Bits(6) + 1;
    return Length();
}

std::span<const std::uint8_t> PerReader::OpenType() {
    const std::size_t length = Length();
    if (length == 0) Fail();
    return Octets(length);
}

void PerReader::Finish() {
    const bool empty_value = position == 0 && octets.size() == 1;
    if (Size() - position >= 8 && !empty_value) Fail();
}

}  // namespace h323
