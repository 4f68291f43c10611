#include "tools/lab/RtpSender.h"

#include <algorithm>
#include <array>
#include <random>

#include "platform/media/RtpHeader.h"

namespace lab {

namespace {

ULONG Random() {
    thread_local std::mt19937 generator{std::random_device{}()};
    return generator();
}

}  // namespace

RtpSender::RtpSender(std::shared_ptr<const CodedSpeech> words, std::size_t first)
    : speech(std::move(words)),
      firstPacket(first),
      next(first),
      ssrc(Random()),
      sequence(Random() & 0x7FFF),
      timestamp(Random()) {}

void RtpSender::Say(std::shared_ptr<const CodedSpeech> newSpeech, std::size_t first) {
    speech = std::move(newSpeech);
    firstPacket = first;
    next = first;
}

std::size_t RtpSender::Next(std::span<UBYTE> room) {
    const std::size_t length = Write(static_cast<UBYTE>(PayloadTypeOf(speech->codec)), !talking, timestamp,
                                     speech->Packet(next), room);
    ++next;
    talking = true;
    timestamp += static_cast<ULONG>(speech->PacketSamples());
    return length;
}

void RtpSender::Pause() {
    talking = false;
    timestamp += static_cast<ULONG>(speech->PacketSamples());
}

std::size_t RtpSender::Event(const media::TelephoneEventSender::Packet& packet, std::span<UBYTE> room) {
    std::array<UBYTE, media::TelephoneEvent::Size> payload{};
    packet.event.Write(payload);
    return Write(EventPayloadType, packet.marker, packet.timestamp, payload, room);
}

std::size_t RtpSender::Write(UBYTE payloadType, bool marker, ULONG stamp, std::span<const UBYTE> payload,
                             std::span<UBYTE> room) {
    media::RtpHeader header;
    header.marker = marker;
    header.payloadType = payloadType;
    header.sequence = sequence++;
    header.timestamp = stamp;
    header.ssrc = ssrc;
    header.Write(room.first<media::RtpHeader::FixedSize>());
    std::copy(payload.begin(), payload.end(), room.begin() + media::RtpHeader::FixedSize);
    std::size_t length = media::RtpHeader::FixedSize + payload.size();
    ++packets;
    octets += static_cast<ULONG>(payload.size());
    if (!srtp) return length;
    length += static_cast<std::size_t>(srtp->RtpOverhead());
    return srtp->ProtectRtp(room.first(length)) ? length : 0;
}

}  // namespace lab
