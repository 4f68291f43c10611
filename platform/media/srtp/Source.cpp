#include "platform/media/srtp/Source.h"

namespace srtp {

namespace {

constexpr int Half = 0x8000;

}  // namespace

// RFC 3711, 3.3.1: of the three roll-over counts that are possible, the one that comes nearest to the highest
// index so far. Before the first roll-over there is no earlier one.
std::optional<std::uint64_t> Source::IndexOf(UWORD sequence) const {
    const int last = static_cast<UWORD>(rtp.Highest());
    std::uint64_t rollOvers = rtp.Highest() >> 16;
    if (last < Half) {
        if (sequence - last > Half && rollOvers > 0) rollOvers--;
    } else if (last - Half > sequence) {
        rollOvers++;
    }
    const std::uint64_t index = rollOvers << 16 | sequence;
    if (index > MaxIndex) return {};
    return index;
}

std::optional<ULONG> Source::NextControlIndex() const {
    if (rtcp.Highest() >= MaxControlIndex) return {};
    return static_cast<ULONG>(rtcp.Highest() + 1);
}

}  // namespace srtp
