// What a session knows of one SSRC: how far its packets have come. Indexes are those of RFC 3711, 3.3.1 (the
// roll-over count above the sequence number, 48 bits) and 3.4 (31 bits).
#pragma once

#include <optional>

#include "platform/kernel/Types.h"
#include "platform/media/srtp/ReplayWindow.h"

namespace srtp {

// A cache line each: with hundreds of sessions none of it is in a cache when a packet comes.
struct alignas(64) Source {
    static constexpr std::uint64_t MaxIndex = (std::uint64_t{1} << 48) - 1;
    static constexpr ULONG MaxControlIndex = (ULONG{1} << 31) - 1;

    // The likeliest index of the RTP packet with this sequence number; none when it would lie behind the
    // last.
    std::optional<std::uint64_t> IndexOf(UWORD sequence) const;
    // The index of the next RTCP packet to be sent; none after the last.
    std::optional<ULONG> NextControlIndex() const;

    ULONG ssrc = 0;
    ReplayWindow rtp{};
    ReplayWindow rtcp{};
};

}  // namespace srtp
