#include "platform/media/RtpHeader.h"

#include "platform/media/ByteOrder.h"

namespace media {

namespace {

constexpr UBYTE Version = 2;
constexpr UBYTE ExtensionBit = 0x10;
constexpr UBYTE CsrcMask = 0x0F;

RtpHeader ReadFixed(std::span<const UBYTE> datagram) {
    RtpHeader header;
    header.padding = (datagram[0] & 0x20) != 0;
    header.extension = (datagram[0] & ExtensionBit) != 0;
    header.csrcCount = datagram[0] & CsrcMask;
    header.marker = (datagram[1] & 0x80) != 0;
    header.payloadType = datagram[1] & 0x7F;
    header.sequence = Get16(&datagram[2]);
    header.timestamp = Get32(&datagram[4]);
    header.ssrc = Get32(&datagram[8]);
    return header;
}

// Drops the padding from the end of `rest`: its last byte counts it, itself included.
bool DropPadding(std::span<const UBYTE>& rest) {
    if (rest.empty()) return false;
    const size_t count = rest.back();
    if (count == 0 || count > rest.size()) return false;
    rest = rest.first(rest.size() - count);
    return true;
}

}  // namespace

std::optional<size_t> RtpHeader::SizeIn(std::span<const UBYTE> datagram) {
    if (datagram.size() < FixedSize) return {};
    size_t size = FixedSize + size_t{4} * (datagram[0] & CsrcMask);
    if ((datagram[0] & ExtensionBit) != 0) {
        // RFC 3550, 5.3.1: four bytes, the last two of which count the words behind them.
        size += 4;
        if (size > datagram.size()) return {};
        size += size_t{4} * Get16(&datagram[size - 2]);
    }
    if (size > datagram.size()) return {};
    return size;
}

std::optional<RtpPacketView> RtpHeader::Parse(std::span<const UBYTE> datagram) {
    const auto size = SizeIn(datagram);
    if (!size || datagram[0] >> 6 != Version) return {};
    const RtpHeader header = ReadFixed(datagram);
    auto rest = datagram.subspan(*size);
    if (header.padding && !DropPadding(rest)) return {};
    return RtpPacketView{header, rest};
}

void RtpHeader::Write(std::span<UBYTE, FixedSize> out) const {
    out[0] = static_cast<UBYTE>(Version << 6 | (padding ? 0x20 : 0) | (extension ? ExtensionBit : 0) |
                                (csrcCount & CsrcMask));
    out[1] = static_cast<UBYTE>((marker ? 0x80 : 0) | (payloadType & 0x7F));
    Put16(&out[2], sequence);
    Put32(&out[4], timestamp);
    Put32(&out[8], ssrc);
}

}  // namespace media
