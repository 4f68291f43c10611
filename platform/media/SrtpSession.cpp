#include "platform/media/SrtpSession.h"

#include "platform/media/ByteOrder.h"
#include "platform/media/RtpHeader.h"

namespace media {

namespace {

using srtp::Protocol;
using srtp::SessionKeys;
using srtp::Source;

// RFC 3711, 9.2: packets that one master key may protect.
constexpr std::uint64_t RtpLifetime = std::uint64_t{1} << 48;
constexpr std::uint64_t RtcpLifetime = std::uint64_t{1} << 31;

// What UDP can carry, and far below what a packet's keystream is long (2^16 blocks).
constexpr size_t MaxPacket = 65535;

constexpr size_t RtcpTag = 10;
constexpr size_t RtcpFixedSize = 8;
constexpr size_t RtcpIndexSize = 4;
constexpr ULONG EncryptedBit = ULONG{1} << 31;  // beside the index of an SRTCP packet (RFC 3711, 3.4)

// Sequence numbers so far behind a wrap that the wrap may have been in packets that were lost before the
// first.
constexpr UWORD JustWrapped = 2048;
constexpr std::uint64_t FirstRollOver = 1 << 16;

// What the tag of an RTP packet covers besides it (RFC 3711, 4.2).
std::array<UBYTE, 4> RollOvers(std::uint64_t index) {
    std::array<UBYTE, 4> bytes;
    Put32(bytes.data(), static_cast<ULONG>(index >> 16));
    return bytes;
}

}  // namespace

std::unique_ptr<SrtpSession> SrtpSession::Create(Direction direction, int tagLength, Key key, Salt salt) {
    if (tagLength != 4 && tagLength != 10) return {};
    return std::unique_ptr<SrtpSession>(new SrtpSession(direction, tagLength, key, salt));
}

SrtpSession::SrtpSession(Direction direction, int tagLength, Key key, Salt salt)
    : rtp(SessionKeys::Derive(Protocol::Rtp, key, salt), static_cast<size_t>(tagLength), RtpLifetime),
      direction(direction),
      rtcp(SessionKeys::Derive(Protocol::Rtcp, key, salt), RtcpTag, RtcpLifetime) {}

bool SrtpSession::ProtectRtp(std::span<UBYTE> packet) {
    if (packet.size() < rtp.TagLength() || packet.size() > MaxPacket) return false;
    const auto message = packet.first(packet.size() - rtp.TagLength());
    const auto header = RtpHeader::SizeIn(message);
    if (!header) return false;
    const ULONG ssrc = Get32(&message[8]);
    Source& source = sources.Get(ssrc);
    const auto index = source.IndexOf(Get16(&message[2]));
    if (!index || !source.rtp.IsNew(*index) || !CanSendFrom(source) || !rtp.Spend()) return false;
    rtp.Crypt(ssrc, *index, message.subspan(*header));
    rtp.Sign(message, RollOvers(*index), packet.data() + message.size());
    source.rtp.Add(*index);
    sources.Keep(source);
    return true;
}

bool SrtpSession::ProtectRtcp(std::span<UBYTE> packet) {
    if (packet.size() < RtcpFixedSize + RtcpOverhead || packet.size() > MaxPacket) return false;
    const ULONG ssrc = Get32(&packet[4]);
    Source& source = sources.Get(ssrc);
    const auto index = source.NextControlIndex();
    if (!index || !CanSendFrom(source) || !rtcp.Spend()) return false;
    const auto message = packet.first(packet.size() - RtcpTag);
    const size_t end = message.size() - RtcpIndexSize;
    rtcp.Crypt(ssrc, *index, message.subspan(RtcpFixedSize, end - RtcpFixedSize));
    Put32(&message[end], EncryptedBit | *index);
    rtcp.Sign(message, {}, packet.data() + message.size());
    source.rtcp.Add(*index);
    sources.Keep(source);
    return true;
}

SrtpSession::Result SrtpSession::UnprotectRtp(std::span<UBYTE> packet, size_t& length) {
    if (direction != Inbound || packet.size() < rtp.TagLength() || packet.size() > MaxPacket) {
        return Result::Refused;
    }
    const auto message = packet.first(packet.size() - rtp.TagLength());
    const auto header = RtpHeader::SizeIn(message);
    if (!header) return Result::Refused;
    const ULONG ssrc = Get32(&message[8]);
    Source& source = sources.Get(ssrc);
    auto index = source.IndexOf(Get16(&message[2]));
    if (!index) return Result::Refused;
    if (!source.rtp.IsNew(*index)) return Result::Replayed;
    if (!IsAuthentic(packet, *index)) {
        if (!IsWrapped(packet, source)) return Result::Refused;
        *index += FirstRollOver;
    }
    rtp.Crypt(ssrc, *index, message.subspan(*header));
    source.rtp.Add(*index);
    if (sources.Keep(source)) recoveries = MaxRecoveries;
    length = message.size();
    return Result::Ok;
}

SrtpSession::Result SrtpSession::UnprotectRtcp(std::span<UBYTE> packet, size_t& length) {
    if (direction != Inbound || packet.size() < RtcpFixedSize + RtcpOverhead || packet.size() > MaxPacket) {
        return Result::Refused;
    }
    const auto message = packet.first(packet.size() - RtcpTag);
    const size_t end = message.size() - RtcpIndexSize;
    const ULONG index = Get32(&message[end]) & ~EncryptedBit;
    // Who has keys for encryption encrypts.
    if ((Get32(&message[end]) & EncryptedBit) == 0) return Result::Refused;
    const ULONG ssrc = Get32(&message[4]);
    Source& source = sources.Get(ssrc);
    if (!source.rtcp.IsNew(index)) return Result::Replayed;
    if (!rtcp.IsAuthentic(message, {}, packet.data() + message.size())) return Result::Refused;
    rtcp.Crypt(ssrc, index, message.subspan(RtcpFixedSize, end - RtcpFixedSize));
    source.rtcp.Add(index);
    if (sources.Keep(source)) recoveries = MaxRecoveries;
    length = end;
    return Result::Ok;
}

bool SrtpSession::CanSendFrom(const Source& source) const {
    return direction == Outbound && (sources.IsKnown(source) || !sources.IsFull());
}

bool SrtpSession::IsAuthentic(std::span<const UBYTE> packet, std::uint64_t index) {
    const auto message = packet.first(packet.size() - rtp.TagLength());
    return rtp.IsAuthentic(message, RollOvers(index), packet.data() + message.size());
}

// A sender whose first sequence numbers lie just below the wrap, and whose packets up to the wrap are lost,
// is already in roll-over 1 when it is first heard (RFC 3711, 3.3.1, has a receiver begin with 0). So the
// first packet of a source is tried there as well.
bool SrtpSession::IsWrapped(std::span<const UBYTE> packet, const Source& source) {
    const UWORD sequence = Get16(&packet[2]);
    if (sequence >= JustWrapped || !source.rtp.IsEmpty() || recoveries == 0) return false;
    recoveries--;
    return IsAuthentic(packet, FirstRollOver | sequence);
}

}  // namespace media
