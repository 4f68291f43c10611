#include "platform/media/RtcpBuilder.h"

#include <algorithm>

#include "platform/media/ByteOrder.h"

namespace media {

namespace {

constexpr size_t HeaderSize = 4;
constexpr size_t MaxCount = 31;
constexpr size_t MaxNameLength = 255;
constexpr UBYTE SdesCname = 1;

}  // namespace

void RtcpBuilder::AddSenderReport(ULONG ssrc, const RtcpSenderInfo& info,
                                  std::span<const RtcpReportBlock> blocks) {
    Begin(RtcpPacket::SenderReport, blocks.size(),
          4 + RtcpSenderInfo::Size + blocks.size() * RtcpReportBlock::Size);
    Put32(ssrc);
    Put32(static_cast<ULONG>(info.ntp >> 32));
    Put32(static_cast<ULONG>(info.ntp));
    Put32(info.rtpTimestamp);
    Put32(info.packets);
    Put32(info.octets);
    AddBlocks(blocks);
}

void RtcpBuilder::AddReceiverReport(ULONG ssrc, std::span<const RtcpReportBlock> blocks) {
    Begin(RtcpPacket::ReceiverReport, blocks.size(), 4 + blocks.size() * RtcpReportBlock::Size);
    Put32(ssrc);
    AddBlocks(blocks);
}

void RtcpBuilder::AddCname(ULONG ssrc, std::string_view name) {
    const size_t length = std::min(name.size(), MaxNameLength);
    // The item list ends with at least one zero byte and fills whole words (RFC 3550, 6.5).
    const size_t chunk = (4 + 2 + length + 1 + 3) / 4 * 4;
    Begin(RtcpPacket::SourceDescription, 1, chunk);
    Put32(ssrc);
    Put8(SdesCname);
    Put8(static_cast<UBYTE>(length));
    for (size_t i = 0; i < length; i++) Put8(static_cast<UBYTE>(name[i]));
    for (size_t i = 4 + 2 + length; i < chunk; i++) Put8(0);
}

void RtcpBuilder::AddBye(ULONG ssrc) {
    Begin(RtcpPacket::Bye, 1, 4);
    Put32(ssrc);
}

void RtcpBuilder::Begin(RtcpPacket::Type type, size_t count, size_t bytes) {
    if (count > MaxCount || used + HeaderSize + bytes > room.size()) failed = true;
    Put8(static_cast<UBYTE>(0x80 | count));
    Put8(type);
    Put8(static_cast<UBYTE>(bytes / 4 >> 8));
    Put8(static_cast<UBYTE>(bytes / 4));
}

void RtcpBuilder::AddBlocks(std::span<const RtcpReportBlock> blocks) {
    for (const RtcpReportBlock& block : blocks) {
        Put32(block.ssrc);
        Put32(ULONG{block.fractionLost} << 24 | (static_cast<ULONG>(block.cumulativeLost) & 0xFFFFFF));
        Put32(block.highestSequence);
        Put32(block.jitter);
        Put32(block.lastSr);
        Put32(block.delaySinceLastSr);
    }
}

void RtcpBuilder::Put8(UBYTE value) {
    if (!failed) room[used++] = value;
}

void RtcpBuilder::Put32(ULONG value) {
    if (failed) return;
    media::Put32(&room[used], value);
    used += 4;
}

}  // namespace media
