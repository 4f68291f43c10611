// The header of an RTP packet (RFC 3550, 5.1).
#pragma once

#include <optional>
#include <span>

#include "platform/kernel/Types.h"

namespace media {

struct RtpPacketView;

struct RtpHeader {
    static constexpr int FixedSize = 12;

    bool padding = false;
    bool extension = false;
    UBYTE csrcCount = 0;  // 0 to 15
    bool marker = false;
    UBYTE payloadType = 0;  // 0 to 127
    UWORD sequence = 0;
    ULONG timestamp = 0;
    ULONG ssrc = 0;

    // The packet that fills `datagram`; nothing when it is no RTP version 2, or when CSRCs, header extension
    // or padding do not fit into it.
    static std::optional<RtpPacketView> Parse(std::span<const UBYTE> datagram);

    // How many bytes of `datagram` are header: the fixed part, CSRCs and header extension. Nothing when they
    // do not fit into it.
    static std::optional<size_t> SizeIn(std::span<const UBYTE> datagram);

    // The fixed part. What `padding`, `extension` and `csrcCount` announce is the caller's to add.
    void Write(std::span<UBYTE, FixedSize> out) const;
};

// A parsed packet; `payload` lies in the datagram that was parsed, without padding, and may be empty.
struct RtpPacketView {
    RtpHeader header;
    std::span<const UBYTE> payload;
};

}  // namespace media
