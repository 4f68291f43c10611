#include "platform/media/RtcpControl.h"

#include <array>

#include "platform/kernel/Clock.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/OperatingSystem.h"
#include "platform/media/RandomWord.h"
#include "platform/media/RtcpBuilder.h"

namespace media {

namespace {

constexpr size_t MaxCompound = 256;
constexpr double IntervalMs = 5000;
constexpr std::uint64_t NtpEpoch = 2208988800;  // seconds from 1900 to 1970
constexpr std::uint64_t Second = 1000000;       // microseconds
constexpr std::uint64_t ShortSecond = 0x10000;  // units of the middle 32 bits of an NTP time

// RFC 3550, 6.2 and 6.3.1: half to one and a half of the interval, made up for the effect of reconsideration
// by e - 3/2; half of it before the first report. Two members never exceed the bandwidth.
ULONG RandomInterval(bool first) {
    constexpr double Compensation = 2.71828 - 1.5;
    const double share = 0.5 + RandomWord() / 4294967296.0;
    return static_cast<ULONG>(IntervalMs * share / Compensation / (first ? 2 : 1));
}

std::uint64_t NtpNow() {
    timeval now{};
    kernel::System().WallClock(now);
    const auto seconds = static_cast<std::uint64_t>(now.tv_sec) + NtpEpoch;
    return seconds << 32 | (static_cast<std::uint64_t>(now.tv_usec) << 32) / Second;
}

}  // namespace

RtcpControl::RtcpControl(OSIO& owner, RtpInput& input, RtpOutput& output, SrtpGate& gate, Discards& discards)
    : owner(owner), input(input), output(output), gate(gate), discards(discards), timer(0, 0) {
    timer.SetCallback(ReportTimer, this, nullptr, 0);
}

void RtcpControl::Start(const SockAddr& local) {
    cname = "rtp" + std::to_string(local.Port()) + "@" + local.AddressStr();
    running = true;
    timer.SetTimer(RandomInterval(true));
}

void RtcpControl::Stop() {
    if (!running) return;
    running = false;
    timer.Cancel();
    if (output.HasSent()) Send(true);
    PrintPeerReport();
}

void RtcpControl::Send(bool bye) {
    const auto block = MakeBlock();
    const std::span<const RtcpReportBlock> blocks(block ? &*block : nullptr, block ? 1 : 0);
    std::array<UBYTE, MaxCompound> room;
    RtcpBuilder compound(room);
    RtcpSenderInfo info = output.SenderInfo();
    if (IsSending(info.packets)) {
        info.ntp = NtpNow();
        compound.AddSenderReport(output.Ssrc(), info, blocks);
    } else {
        compound.AddReceiverReport(output.Ssrc(), blocks);
    }
    compound.AddCname(output.Ssrc(), cname);
    if (bye) compound.AddBye(output.Ssrc());
    output.SendControl(std::span(room).first(compound.Size()));
}

// A sender is who has sent since the report before the last (RFC 3550, 6.3.8).
bool RtcpControl::IsSending(ULONG packets) {
    const bool sending = packets != packetsAtReportBefore;
    packetsAtReportBefore = packetsAtLastReport;
    packetsAtLastReport = packets;
    return sending;
}

std::optional<RtcpReportBlock> RtcpControl::MakeBlock() {
    auto block = input.TakeReport();
    if (!block || peer.lastSr == 0 || peer.senderSsrc != block->ssrc) return block;
    block->lastSr = peer.lastSr;
    block->delaySinceLastSr = static_cast<ULONG>((os_clock_us() - peer.lastSrAt) * ShortSecond / Second);
    return block;
}

OSIORetCode RtcpControl::DatagramIndication(OSBuf* buf, void* from, void* /*to*/) {
    const SrtpSession::Result opened = gate.Open(*buf, SrtpGate::Rtcp);
    if (opened == SrtpSession::Result::Replayed) return discards.Drop(buf, Discards::Replayed, from);
    if (opened != SrtpSession::Result::Ok) return discards.Drop(buf, Discards::Unauthentic, from);
    if (!RtcpPacket::IsCompound(buf->Data())) return discards.Drop(buf, Discards::MalformedControl, from);
    std::span<const UBYTE> rest = buf->Data();
    while (const auto packet = RtcpPacket::Next(rest)) OnPacket(*packet);
    buf->Free();
    return Success;
}

void RtcpControl::OnPacket(const RtcpPacket& packet) {
    if (const auto info = packet.SenderInfo()) {
        peer.senderSsrc = packet.Ssrc();
        peer.lastSr = info->NtpMiddle();
        peer.lastSrAt = os_clock_us();
    }
    for (int i = 0; i < packet.BlockCount(); i++) OnBlock(packet.Block(i));
    if (packet.PacketType() == RtcpPacket::Bye) input.OnBye(packet);
}

// RFC 3550, 6.4.1: the round trip is now less the time of our report, less what the peer held it.
void RtcpControl::OnBlock(const RtcpReportBlock& block) {
    if (block.ssrc != output.Ssrc()) return;
    peer.hasReported = true;
    peer.ours = block;
    if (block.lastSr == 0) return;
    const auto trip =
        static_cast<std::int32_t>(static_cast<ULONG>(NtpNow() >> 16) - block.lastSr - block.delaySinceLastSr);
    if (trip >= 0) peer.roundTripMs = static_cast<ULONG>(trip * std::uint64_t{1000} / ShortSecond);
}

void RtcpControl::PrintPeerReport() const {
    if (!peer.hasReported || Console == nullptr) return;
    Console->Print("RTPEndPoint::LowerReleased - peer reported %d packets lost, jitter %u, round trip %u ms",
                   peer.ours.cumulativeLost, peer.ours.jitter, peer.roundTripMs);
}

void RtcpControl::ReportTimer(OSObj* object, void* /*param*/, unsigned long /*value*/) {
    auto* self = static_cast<RtcpControl*>(object);
    self->Send(false);
    self->timer.SetTimer(RandomInterval(false));
}

}  // namespace media
