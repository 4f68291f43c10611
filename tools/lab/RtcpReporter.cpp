#include "tools/lab/RtcpReporter.h"

#include "platform/media/RtcpBuilder.h"
#include "tools/lab/UdpSocket.h"

namespace lab {

namespace {

constexpr std::int64_t NsPerSecond = 1'000'000'000;
constexpr std::uint64_t NtpOfUnixEpoch = 2'208'988'800;  // seconds (RFC 5905, 6)

// 32.32 seconds since 1900.
std::uint64_t ToNtp(std::int64_t wallNs) {
    const auto seconds = static_cast<std::uint64_t>(wallNs / NsPerSecond);
    const auto fraction = static_cast<std::uint64_t>(wallNs % NsPerSecond);
    return (seconds + NtpOfUnixEpoch) << 32 | (fraction << 32) / NsPerSecond;
}

}  // namespace

void RtcpReporter::Protect(std::unique_ptr<media::SrtpSession> out, std::unique_ptr<media::SrtpSession> in) {
    outbound = std::move(out);
    inbound = std::move(in);
}

std::size_t RtcpReporter::Write(const RtpSender& sender, RtpReceiver& receiver, std::span<UBYTE> room) {
    const std::size_t overhead = outbound ? media::SrtpSession::RtcpOverhead : 0;
    const std::int64_t now = WallNs();
    media::SequenceTracker& tracker = receiver.Tracker();
    media::RtcpReportBlock block;
    if (tracker.Started()) {
        block.ssrc = tracker.Ssrc();
        block.fractionLost = tracker.FractionLost();
        block.cumulativeLost = tracker.Lost();
        block.highestSequence = tracker.HighestSequence();
        block.jitter = tracker.Jitter();
        block.lastSr = heard.sender ? heard.sender->NtpMiddle() : 0;
        block.delaySinceLastSr =
            heard.sender ? static_cast<ULONG>((now - senderReportAtNs) * 65536 / NsPerSecond) : 0;
    }
    const std::span<const media::RtcpReportBlock> blocks(&block, tracker.Started() ? 1 : 0);
    media::RtcpBuilder builder(room.first(room.size() - overhead));
    if (sender.Packets() > 0) {
        builder.AddSenderReport(sender.Ssrc(),
                                {ToNtp(now), sender.Timestamp(), sender.Packets(), sender.Octets()}, blocks);
    } else {
        builder.AddReceiverReport(sender.Ssrc(), blocks);
    }
    builder.AddCname(sender.Ssrc(), "kestrel-lab");
    const std::size_t size = builder.Size();
    if (size == 0 || !outbound) return size;
    return outbound->ProtectRtcp(room.first(size + overhead)) ? size + overhead : 0;
}

void RtcpReporter::OnDatagram(std::span<UBYTE> datagram, ULONG ourSsrc, std::int64_t atNs) {
    if (inbound) {
        std::size_t length = datagram.size();
        if (inbound->UnprotectRtcp(datagram, length) != media::SrtpSession::Result::Ok) {
            ++heard.unauthentic;
            return;
        }
        datagram = datagram.first(length);
    }
    if (!media::RtcpPacket::IsCompound(datagram)) {
        ++heard.malformed;
        return;
    }
    ++heard.compounds;
    std::span<const UBYTE> rest = datagram;
    while (const std::optional<media::RtcpPacket> packet = media::RtcpPacket::Next(rest))
        OnPacket(*packet, ourSsrc, atNs);
}

void RtcpReporter::OnPacket(const media::RtcpPacket& packet, ULONG ourSsrc, std::int64_t atNs) {
    if (packet.PacketType() == media::RtcpPacket::Bye) heard.bye = true;
    if (packet.PacketType() == media::RtcpPacket::SourceDescription) heard.cname = packet.Cname();
    if (const std::optional<media::RtcpSenderInfo> info = packet.SenderInfo()) {
        heard.sender = info;
        senderReportAtNs = atNs;
    }
    for (int i = 0; i < packet.BlockCount(); ++i)
        if (packet.Block(i).ssrc == ourSsrc) heard.aboutUs = packet.Block(i);
}

}  // namespace lab
