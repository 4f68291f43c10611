// Writes a value in the aligned basic packed encoding rules (ITU-T X.691), as H.225.0 has them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace h323 {

// One bit stream, most significant bit first. An error (a value outside its constraint) sticks: what was
// written so far is then of no use, and `Take` gives nothing. Not for use by several threads.
class PerWriter {
 public:
    void Bit(bool bit);

    // The `count` low bits of `value`, at most 32, not aligned.
    void Bits(std::uint32_t value, unsigned count);

    // Zero bits up to the next octet boundary.
    void Align();

    // Octets at the current position, whether or not it is aligned.
    void Octets(std::span<const std::uint8_t> octets);

    // A constrained whole number (X.691, 11.5.7).
    void Integer(std::uint32_t value, std::uint32_t low, std::uint32_t high);

    // A length determinant without bounds (X.691, 11.9). From 16384 on it would be fragmented: an error here.
    void Length(std::size_t length);

    // A normally small number (X.691, 11.6): the index of an extension alternative.
    void SmallNumber(std::uint32_t number);

    // A normally small length (X.691, 11.9.3.4): the number of extension additions, at least 1.
    void SmallLength(std::size_t length);

    // An open type (X.691, 11.2): `content` on octet boundaries of its own, behind its length; at least one
    // octet.
    void OpenType(PerWriter& content);

    void Fail() { failed = true; }
    bool Failed() const { return failed; }

    // The octets written, the last one padded with zero bits; empty after an error.
    std::vector<std::uint8_t> Take();

 private:
    void LongInteger(std::uint32_t offset);

    std::vector<std::uint8_t> octets_written;
    unsigned used = 8;  // bits used of the last octet
    bool failed = false;
};

}  // namespace h323
