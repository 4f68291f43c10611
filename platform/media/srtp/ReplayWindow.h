// Which packet indexes of a source have been used (RFC 3711, 3.3.2): the highest, and which of the `Size` up
// to it. What is older than the window counts as used.
#pragma once

#include <bitset>
#include <cstdint>

namespace srtp {

class ReplayWindow {
 public:
    static constexpr std::size_t Size = 128;

    bool IsEmpty() const { return used.none(); }
    // 0 when the window is empty.
    std::uint64_t Highest() const { return highest; }
    bool IsNew(std::uint64_t index) const;
    // `index` must be new.
    void Add(std::uint64_t index);

 private:
    std::uint64_t highest = 0;
    std::bitset<Size> used;  // bit n: `highest` - n
};

}  // namespace srtp
