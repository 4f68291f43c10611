// Reads a value in the aligned basic packed encoding rules (ITU-T X.691), as H.225.0 has them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace h323 {

// Reads a datagram, or the content of an open type, that it does not own and that must outlive it. Nothing
// past the end is ever touched: what does not fit is an error, which sticks and makes every later read give 0
// or nothing. Not for use by several threads.
class PerReader {
 public:
    explicit PerReader(std::span<const std::uint8_t> octets) : octets(octets) {}

    bool Bit();

    // `count` bits, at most 32, not aligned.
    std::uint32_t Bits(unsigned count);

    // On to the next octet boundary; the padding may have any value.
    void Align();

    // The next `count` whole octets of an aligned stream, within what was handed to the constructor.
    std::span<const std::uint8_t> Octets(std::size_t count);

    // A constrained whole number (X.691, 11.5.7); outside of `low`..`high` it is an error.
    std::uint32_t Integer(std::uint32_t low, std::uint32_t high);

    // A length determinant without bounds (X.691, 11.9). Fragments (16384 and more) are an error: no RAS
    // message holds that much. The length is not yet checked against the rest.
    std::size_t Length();

    // A normally small number (X.691, 11.6): the index of an extension alternative.
    std::uint32_t SmallNumber();

    // A normally small length (X.691, 11.9.3.4): the number of extension additions.
    std::size_t SmallLength();

    // The content of an open type (X.691, 11.2), which has at least one octet.
    std::span<const std::uint8_t> OpenType();

    // Ends the reading: a whole octet left over is an error, unless it is the one of an empty value.
    void Finish();

    // Passes over everything that is left.
    void SkipRest() { position = Size(); }

    void Fail();
    bool Failed() const { return failed; }

 private:
    std::size_t Size() const { return octets.size() * 8; }

    std::span<const std::uint8_t> octets;
    std::size_t position = 0;  // [bits]
    bool failed = false;
};

}  // namespace h323
