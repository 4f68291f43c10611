// One packet of an RTCP compound packet, as received (RFC 3550, 6.4 to 6.6). A view: the datagram outlives
// it.
//
//     if (RtcpPacket::IsCompound(datagram))
//         for (auto rest = datagram; auto packet = RtcpPacket::Next(rest);) ...
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "platform/kernel/Types.h"

namespace media {

// What a receiver reports about one source (RFC 3550, 6.4.1).
struct RtcpReportBlock {
    static constexpr int Size = 24;

    ULONG ssrc = 0;
    UBYTE fractionLost = 0;           // in 256ths, since the last report
    std::int32_t cumulativeLost = 0;  // 24 bits, signed
    ULONG highestSequence = 0;        // extended by the cycle count
    ULONG jitter = 0;                 // in time stamp units
    ULONG lastSr = 0;                 // middle 32 bits of the NTP time of the last sender report, 0: none
    ULONG delaySinceLastSr = 0;       // in 65536ths of a second
};

struct RtcpSenderInfo {
    static constexpr int Size = 20;

    std::uint64_t ntp = 0;  // 32.32 seconds since 1900
    ULONG rtpTimestamp = 0;
    ULONG packets = 0;
    ULONG octets = 0;

    // What a report block carries as `lastSr`.
    ULONG NtpMiddle() const { return static_cast<ULONG>(ntp >> 16); }
};

class RtcpPacket {
 public:
    enum Type : UBYTE { SenderReport = 200, ReceiverReport = 201, SourceDescription = 202, Bye = 203 };

    // Whether `datagram` is a valid compound packet (RFC 3550, A.2): version 2 throughout, a report without
    // padding first, lengths that add up to the datagram.
    static bool IsCompound(std::span<const UBYTE> datagram);
    // Takes the first packet off `rest`; nothing at the end, or when its length runs past it.
    static std::optional<RtcpPacket> Next(std::span<const UBYTE>& rest);

    UBYTE PacketType() const { return type; }
    // The SSRC it begins with: the sender's, or the first that is described or leaves. 0 when there is none.
    ULONG Ssrc() const;
    // Of a sender report; nothing for another packet, or when it is too short for it.
    std::optional<RtcpSenderInfo> SenderInfo() const;
    // Report blocks that it announces and that fit into it, and the `index`-th.
    int BlockCount() const;
    RtcpReportBlock Block(int index) const;
    // The first CNAME of a source description; empty without one.
    std::string_view Cname() const;
    // Whether it is a BYE that names `ssrc`.
    bool Leaves(ULONG ssrc) const;

 private:
    size_t BlocksBegin() const;

    UBYTE type = 0;
    UBYTE count = 0;
    std::span<const UBYTE> body;  // behind the 4 bytes that all packets begin with, without padding
};

}  // namespace media
