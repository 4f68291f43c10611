// Writes an RTCP compound packet (RFC 3550, 6.1): a report first, then the source description, then BYE if
// one leaves. Nothing is written past the end of the room; what does not fit makes the compound invalid (Size
// 0).
#pragma once

#include <span>
#include <string_view>

#include "platform/media/RtcpPacket.h"

namespace media {

class RtcpBuilder {
 public:
    explicit RtcpBuilder(std::span<UBYTE> room) : room(room) {}

    // At most 31 blocks.
    void AddSenderReport(ULONG ssrc, const RtcpSenderInfo& info, std::span<const RtcpReportBlock> blocks);
    void AddReceiverReport(ULONG ssrc, std::span<const RtcpReportBlock> blocks);
    // At most 255 bytes of name.
    void AddCname(ULONG ssrc, std::string_view name);
    void AddBye(ULONG ssrc);

    // Bytes of the compound so far.
    size_t Size() const { return failed ? 0 : used; }

 private:
    void Begin(RtcpPacket::Type type, size_t count, size_t bytes);
    void AddBlocks(std::span<const RtcpReportBlock> blocks);
    void Put8(UBYTE value);
    void Put32(ULONG value);

    std::span<UBYTE> room;
    size_t used = 0;
    bool failed = false;
};

}  // namespace media
