#include "platform/media/RtpInput.h"

#include "platform/kernel/Clock.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/RateLimit.h"
#include "platform/media/G711.h"

namespace media {

namespace {

using Verdict = SequenceTracker::Verdict;

void ReportNewStream(const RtpHeader& header, const void* from) {
    static RateLimit limit;
    if (Console == nullptr || !limit.Allow()) return;
    const SockAddr source = from != nullptr ? *static_cast<const SockAddr*>(from) : SockAddr();
    Console->Print("RTPEndPoint::Receive - new stream from %s:%u, SSRC %08x, sequence %u",
                   source.AddressStr().c_str(), source.Port(), header.ssrc, header.sequence);
}

void ReportClockJump(const RtpHeader& header) {
    static RateLimit limit;
    if (Console == nullptr || !limit.Allow()) return;
    Console->Print("RTPEndPoint::Receive - time stamps jump to %u, SSRC %08x", header.timestamp, header.ssrc);
}

}  // namespace

RtpInput::RtpInput(OSIO& owner, SrtpGate& gate, Discards& discards)
    : owner(owner), gate(gate), discards(discards), digits(*this), digitTimer(0, 0) {
    digitTimer.SetCallback(DigitTimer, this, nullptr, 0);
}

void RtpInput::SetDigitCallback(DigitCallback function, void* context) {
    callback = function;
    callbackContext = context;
}

void RtpInput::Start(const StreamAttributes& attributes) {
    stream = attributes;
    started = true;
}

OSIORetCode RtpInput::DatagramIndication(OSBuf* buf, void* from, void* /*to*/) {
    if (!started) return discards.Drop(buf, Discards::NotStarted, from);
    const SrtpSession::Result opened = gate.Open(*buf, SrtpGate::Rtp);
    if (opened == SrtpSession::Result::Replayed) return discards.Drop(buf, Discards::Replayed, from);
    if (opened != SrtpSession::Result::Ok) return discards.Drop(buf, Discards::Unauthentic, from);
    const auto packet = RtpHeader::Parse(buf->Data());
    if (!packet) return discards.Drop(buf, Discards::Malformed, from);
    return OnPacket(buf, *packet, from);
}

OSIORetCode RtpInput::OnPacket(OSBuf* buf, const RtpPacketView& packet, const void* from) {
    const RtpHeader& header = packet.header;
    if (header.payloadType == stream.eventPayloadType) return OnEvent(buf, packet, from);
    if (header.payloadType == stream.payloadType) return OnAudio(buf, packet, from);
    // A payload that we do not take (comfort noise, say) uses up sequence numbers of the stream all the same.
    if (audio.Started() && header.ssrc == audio.Ssrc()) audio.Accept(header.ssrc, header.sequence);
    return discards.Drop(buf, Discards::UnknownType, from);
}

OSIORetCode RtpInput::OnAudio(OSBuf* buf, const RtpPacketView& packet, const void* from) {
    const RtpHeader& header = packet.header;
    heard = true;
    const Verdict verdict = audio.Accept(header.ssrc, header.sequence);
    if (verdict == Verdict::Late) return discards.Drop(buf, Discards::Late, from);
    if (verdict == Verdict::Duplicate) return discards.Drop(buf, Discards::Duplicate, from);
    if (verdict != Verdict::InOrder) ReportNewStream(header, from);
    const std::uint64_t now = os_clock_us();
    const auto arrival = static_cast<ULONG>(now * SamplesPerMs / MicrosecondsPerMs);
    if (!audio.AddTiming(header.timestamp, arrival)) ReportClockJump(header);
    digits.OnAudio(header.ssrc, header.timestamp, static_cast<ULONG>(now / MicrosecondsPerMs));
    return Deliver(buf, packet, from);
}

// Late event packets are as good as others.
OSIORetCode RtpInput::OnEvent(OSBuf* buf, const RtpPacketView& packet, const void* from) {
    const RtpHeader& header = packet.header;
    SequenceTracker& tracker = audio.Started() && header.ssrc != audio.Ssrc() ? foreignEvents : audio;
    heard = true;
    if (tracker.Accept(header.ssrc, header.sequence) == Verdict::Duplicate) {
        return discards.Drop(buf, Discards::Duplicate, from);
    }
    if (!digits.OnEventPacket(header.ssrc, header.timestamp, packet.payload, os_clock())) {
        return discards.Drop(buf, Discards::MalformedEvent, from);
    }
    WatchDigit();
    buf->Free();
    return Success;
}

OSIORetCode RtpInput::Deliver(OSBuf* buf, const RtpPacketView& packet, const void* from) {
    if (sink == nullptr) return discards.Drop(buf, Discards::NoSink, from);
    const auto payload = packet.payload;
    buf->Strip(static_cast<int>(payload.data() - buf->data));
    buf->len = static_cast<UWORD>(payload.size());
    if (stream.ulawOnNetwork) UlawToAlaw(buf->data, buf->len);
    return sink->DataIndication(buf);
}

void RtpInput::OnBye(const RtcpPacket& bye) {
    digits.Flush(os_clock());
    if (audio.Started() && bye.Leaves(audio.Ssrc())) audio.Reset();
    if (foreignEvents.Started() && bye.Leaves(foreignEvents.Ssrc())) foreignEvents.Reset();
}

std::optional<RtcpReportBlock> RtpInput::TakeReport() {
    if (!heard || !audio.Started()) return {};
    heard = false;
    RtcpReportBlock block;
    block.ssrc = audio.Ssrc();
    block.fractionLost = audio.FractionLost();
    block.cumulativeLost = audio.Lost();
    block.highestSequence = audio.HighestSequence();
    block.jitter = audio.Jitter();
    return block;
}

void RtpInput::WatchDigit() {
    if (digits.IsPending()) digitTimer.SetTimer(TelephoneEventReceiver::SilenceMs);
}

void RtpInput::OnDigit(char digit, int durationMs) {
    if (callback != nullptr) callback(callbackContext, digit, durationMs);
}

void RtpInput::OnExcessDigit() {
    static RateLimit limit;
    if (Console == nullptr || !limit.Allow()) return;
    Console->Print("RTPEndPoint::Receive - digit dropped, they come faster than keys can be pressed");
}

void RtpInput::DigitTimer(OSObj* object, void* /*param*/, unsigned long /*value*/) {
    auto* self = static_cast<RtpInput*>(object);
    self->digits.OnTime(os_clock());
    self->WatchDigit();
}

}  // namespace media
