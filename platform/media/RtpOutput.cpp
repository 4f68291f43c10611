#include "platform/media/RtpOutput.h"

#include <cstring>

#include "platform/kernel/Clock.h"
#include "platform/media/G711.h"
#include "platform/media/RandomWord.h"
#include "platform/media/RtpHeader.h"

namespace media {

namespace {

constexpr int SampleClockSize = 4;
constexpr int MaxPacket = 65000;  // leaves room for headers and tags below what UDP can carry

OSIORetCode Drop(OSBuf* buf) {
    buf->Free();
    return Blocked;
}

bool IsReachable(const SockAddr& address) {
    return address.Address() != 0 && address.Port() != 0;
}

// The buffer, or a copy of it with room for a header.
OSBuf* WithHeaderRoom(OSBuf* buf) {
    if (buf->Headroom() >= RtpHeader::FixedSize) return buf;
    OSBuf* copy = buf->Duplicate();
    buf->Free();
    return copy;
}

}  // namespace

RtpOutput::RtpOutput()
    : clock(RandomWord(), os_clock()),
      ssrc(RandomWord()),
      // In the lower half, so that a receiver that misses the first packets cannot mistake the roll-over
      // count of SRTP (RFC 3711, 3.3.1).
      sequence(static_cast<UWORD>(RandomWord() & 0x7FFF)) {
    InitializeCriticalSection(&cs);
}

RtpOutput::~RtpOutput() {
    DeleteCriticalSection(&cs);
}

void RtpOutput::SetDataSocket(OSIO* socket) {
    const CriticalSectionLock guard(cs);
    data = socket;
    if (socket == nullptr) events.Clear();
}

void RtpOutput::SetControlSocket(OSIO* socket) {
    const CriticalSectionLock guard(cs);
    control = socket;
}

void RtpOutput::Start(const StreamAttributes& attributes) {
    const CriticalSectionLock guard(cs);
    stream = attributes;
    talkStarts = true;
}

void RtpOutput::Protect(std::unique_ptr<SrtpSession> session) {
    const CriticalSectionLock guard(cs);
    gate.Protect(std::move(session));
}

bool RtpOutput::CanSend() const {
    return data != nullptr && stream.payloadType >= 0 && IsReachable(stream.remoteRtp);
}

OSIORetCode RtpOutput::SendAudio(OSBuf* buf) {
    const CriticalSectionLock guard(cs);
    if (!CanSend() || buf->len <= SampleClockSize || buf->len > MaxPacket) return Drop(buf);
    ULONG source = 0;
    std::memcpy(&source, buf->data, SampleClockSize);
    buf->Strip(SampleClockSize);
    const RtpClock::Stamp stamp = clock.Advance(source, SamplesOf(stream.comp, buf->len), os_clock());
    talkStarts = talkStarts || stamp.discontinuity;
    if (events.IsBusy()) {
        // An event stands for the audio of its time (RFC 4733, 2.5.1); what follows is a new beginning.
        talkStarts = true;
        return Drop(buf);
    }
    if (stream.ulawOnNetwork) AlawToUlaw(buf->data, buf->len);
    const bool marker = talkStarts;
    talkStarts = false;
    return Transmit(buf, stream.payloadType, stamp.timestamp, marker);
}

OSIORetCode RtpOutput::Transmit(OSBuf* buf, int payloadType, ULONG timestamp, bool marker) {
    const RtpHeader header{.marker = marker,
                           .payloadType = static_cast<UBYTE>(payloadType),
                           .sequence = sequence++,
                           .timestamp = timestamp,
                           .ssrc = ssrc};
    const ULONG payload = buf->len;
    buf = WithHeaderRoom(buf);
    header.Write(
        std::span<UBYTE, RtpHeader::FixedSize>(buf->PushDown(RtpHeader::FixedSize), RtpHeader::FixedSize));
    if (!gate.Seal(*buf, SrtpGate::Rtp)) return Drop(buf);
    packets++;
    octets += payload;
    SockAddr to = stream.remoteRtp;
    return data->DatagramIndication(buf, nullptr, &to);
}

bool RtpOutput::AddDigit(char digit, int durationMs) {
    const CriticalSectionLock guard(cs);
    return CanSend() && stream.eventPayloadType >= 0 && events.Add(digit, durationMs);
}

ULONG RtpOutput::SendEvents() {
    const CriticalSectionLock guard(cs);
    const ULONG now = os_clock();
    if (!CanSend()) events.Clear();
    if (const auto packet = events.Poll(now, clock.At(now))) {
        OSBuf* buf = OSBuf::Alloc(TelephoneEvent::Size + RtpHeader::FixedSize);
        packet->event.Write(std::span<UBYTE, TelephoneEvent::Size>(buf->PushDown(TelephoneEvent::Size),
                                                                   TelephoneEvent::Size));
        Transmit(buf, stream.eventPayloadType, packet->timestamp, packet->marker);
    }
    return events.NextPoll(now);
}

bool RtpOutput::HasEvents() const {
    const CriticalSectionLock guard(cs);
    return events.IsBusy();
}

OSIORetCode RtpOutput::SendControl(std::span<const UBYTE> compound) {
    const CriticalSectionLock guard(cs);
    if (control == nullptr || !IsReachable(stream.remoteRtcp)) return Blocked;
    const int bytes = static_cast<int>(compound.size());
    OSBuf* buf = OSBuf::Alloc(bytes);
    buf->PushData(compound.data(), bytes);
    if (!gate.Seal(*buf, SrtpGate::Rtcp)) return Drop(buf);
    controlSent = true;
    SockAddr to = stream.remoteRtcp;
    return control->DatagramIndication(buf, nullptr, &to);
}

RtcpSenderInfo RtpOutput::SenderInfo() const {
    const CriticalSectionLock guard(cs);
    RtcpSenderInfo info;
    info.rtpTimestamp = clock.At(os_clock());
    info.packets = packets;
    info.octets = octets;
    return info;
}

bool RtpOutput::HasSent() const {
    const CriticalSectionLock guard(cs);
    return packets > 0 || controlSent;
}

}  // namespace media
