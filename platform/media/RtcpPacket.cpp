#include "platform/media/RtcpPacket.h"

#include <algorithm>

#include "platform/media/ByteOrder.h"

namespace media {

namespace {

constexpr size_t HeaderSize = 4;  // version, padding, count; type; length
constexpr UBYTE Version = 2;
constexpr UBYTE PaddingBit = 0x20;
constexpr UBYTE SdesEnd = 0;
constexpr UBYTE SdesCname = 1;

bool IsReport(UBYTE type) {
    return type == RtcpPacket::SenderReport || type == RtcpPacket::ReceiverReport;
}

}  // namespace

bool RtcpPacket::IsCompound(std::span<const UBYTE> datagram) {
    if (datagram.size() < HeaderSize || !IsReport(datagram[1])) return false;
    if ((datagram[0] & PaddingBit) != 0) return false;
    while (!datagram.empty()) {
        if (!Next(datagram)) return false;
    }
    return true;
}

std::optional<RtcpPacket> RtcpPacket::Next(std::span<const UBYTE>& rest) {
    if (rest.size() < HeaderSize || rest[0] >> 6 != Version) return {};
    const size_t size = HeaderSize + size_t{4} * Get16(&rest[2]);
    if (size > rest.size()) return {};
    RtcpPacket packet;
    packet.count = rest[0] & 0x1F;
    packet.type = rest[1];
    packet.body = rest.subspan(HeaderSize, size - HeaderSize);
    if ((rest[0] & PaddingBit) != 0) {
        // Only the last packet of a compound is padded (RFC 3550, 6.4.1).
        if (size != rest.size() || packet.body.empty()) return {};
        const size_t padding = packet.body.back();
        if (padding == 0 || padding > packet.body.size()) return {};
        packet.body = packet.body.first(packet.body.size() - padding);
    }
    rest = rest.subspan(size);
    return packet;
}

ULONG RtcpPacket::Ssrc() const {
    return body.size() < 4 ? 0 : Get32(body.data());
}

std::optional<RtcpSenderInfo> RtcpPacket::SenderInfo() const {
    if (type != SenderReport || body.size() < 4 + RtcpSenderInfo::Size) return {};
    const UBYTE* at = body.data() + 4;
    RtcpSenderInfo info;
    info.ntp = std::uint64_t{Get32(at)} << 32 | Get32(at + 4);
    info.rtpTimestamp = Get32(at + 8);
    info.packets = Get32(at + 12);
    info.octets = Get32(at + 16);
    return info;
}

size_t RtcpPacket::BlocksBegin() const {
    return type == SenderReport ? 4 + RtcpSenderInfo::Size : 4;
}

int RtcpPacket::BlockCount() const {
    if (!IsReport(type) || body.size() < BlocksBegin()) return 0;
    const size_t room = (body.size() - BlocksBegin()) / RtcpReportBlock::Size;
    return static_cast<int>(std::min<size_t>(count, room));
}

RtcpReportBlock RtcpPacket::Block(int index) const {
    const UBYTE* at = body.data() + BlocksBegin() + static_cast<size_t>(index) * RtcpReportBlock::Size;
    RtcpReportBlock block;
    block.ssrc = Get32(at);
    block.fractionLost = at[4];
    block.cumulativeLost = static_cast<std::int32_t>(Get32(at + 4) << 8) >> 8;
    block.highestSequence = Get32(at + 8);
    block.jitter = Get32(at + 12);
    block.lastSr = Get32(at + 16);
    block.delaySinceLastSr = Get32(at + 20);
    return block;
}

std::string_view RtcpPacket::Cname() const {
    if (type != SourceDescription || count == 0 || body.size() < 4) return {};
    for (auto items = body.subspan(4); items.size() >= 2 && items[0] != SdesEnd;) {
        const size_t length = items[1];
        if (length > items.size() - 2) return {};
        if (items[0] == SdesCname) return {reinterpret_cast<const char*>(&items[2]), length};
        items = items.subspan(2 + length);
    }
    return {};
}

bool RtcpPacket::Leaves(ULONG ssrc) const {
    if (type != Bye) return false;
    const size_t named = std::min<size_t>(count, body.size() / 4);
    for (size_t i = 0; i < named; i++) {
        if (Get32(&body[4 * i]) == ssrc) return true;
    }
    return false;
}

}  // namespace media
