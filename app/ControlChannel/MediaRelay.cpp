#include "app/ControlChannel/MediaRelay.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "app/ControlChannel/MediaChannel.h"
#include "platform/kernel/Clock.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/RateLimit.h"

namespace {

constexpr int DefaultPacketBytes = 240;  // 30 ms
constexpr int G729Ratio = 8;             // 80 samples to a frame of 10 bytes
// The longest G.729 payload whose samples a kernel buffer holds.
constexpr int MaxG729Payload = (std::numeric_limits<UWORD>::max() - MediaRelay::Headroom) / G729Ratio;

// The codecs that can be relayed, and what is taken for silence suppression.
struct Codec {
    int comp;
    int shortest;  // bytes of 10 ms
    const char* silence;
};

constexpr Codec Codecs[] = {
    {ControlMessage::Alaw, 80, "SILENCE SUPPRESSION DETECTED!!! (A-law, len=%u)\n"},
    {ControlMessage::Ulaw, 80, "SILENCE SUPPRESSION DETECTED!!! (u-law, len=%u)\n"},
    {ControlMessage::G729, 10, "SILENCE SUPPRESSION DETECTED!!! (G.729, len=%u)\n"},
};

const Codec* CodecOf(int comp) {
    for (const Codec& codec : Codecs)
        if (codec.comp == comp) return &codec;
    return nullptr;
}

OSBuf* NewBuffer(int bytes) {
    OSBuf* buf = OSBuf::Alloc(bytes + MediaRelay::Headroom);
    buf->PushDown(bytes);
    return buf;
}

template <class List>
void FreeAll(List& list) {
    while (OSBuf* buf = list.RemoveFirst()) buf->Free();
}

}  // namespace

MediaRelay::MediaRelay(MediaChannel* chan, bool isHoldMusic)
    : channel(chan), ts(static_cast<ULONG>(random())), holdMusic(isHoldMusic) {
    InitializeCriticalSection(&rxq_cs);
    Console->Print("MediaRelay::MediaRelay - chan %d", channel->chan);
}

MediaRelay::~MediaRelay() {
    Console->Print("MediaRelay::~MediaRelay - chan %d, rx overruns %lu, rx underruns %lu", channel->chan,
                   static_cast<unsigned long>(channel->rxq_overruns),
                   static_cast<unsigned long>(channel->rxq_underruns));
    FreeAll(rxq);
    FreeAll(txq);
    FreeAll(confq);
    DeleteCriticalSection(&rxq_cs);
}

OSIORetCode MediaRelay::DatagramIndication(OSBuf* buf, void* /*from*/, void* /*to*/) {
    return DataIndication(buf);
}

OSIORetCode MediaRelay::DataIndication(OSBuf* buf) {
    channel->rxcount.Add(1);
    OSBuf* samples = ToSamples(buf);
    if (samples == nullptr) {
        buf->Free();
        return Blocked;
    }
    std::span<const UBYTE> rest = samples->Data();
    for (; rest.size() >= FrameBytes; rest = rest.subspan(FrameBytes)) {
        OSBuf* frame = NewBuffer(FrameBytes);  // its stamp is the arrival
        memcpy(frame->data, rest.data(), FrameBytes);
        Queue(frame);
    }
    static RateLimit limit;
    if (!rest.empty() && limit.Allow())
        Console->Print("MediaRelay::DataIndication - %d bytes left!", static_cast<int>(rest.size()));
    samples->Free();
    return Success;
}

// The samples of a payload, which it then has taken over; null, and the payload still the caller's, when it
// is to be dropped.
OSBuf* MediaRelay::ToSamples(OSBuf* payload) {
    const Codec* codec = CodecOf(channel->msa.comp);
    if (codec == nullptr) return nullptr;
    if (payload->len < codec->shortest) {
        static RateLimit limit;
        if (limit.Allow()) Console->Print(codec->silence, payload->len);
        return nullptr;
    }
    return codec->comp == ControlMessage::G729 ? Decode(payload) : payload;
}

OSBuf* MediaRelay::Decode(OSBuf* payload) {
    if (payload->len > MaxG729Payload) {
        static RateLimit limit;
        if (limit.Allow()) {
            Console->Print("MediaRelay::DataIndication - dropped %u bytes of G.729, too long", payload->len);
        }
        return nullptr;
    }
    OSBuf* samples = NewBuffer(G729Ratio * payload->len);
    g729decoder.Decode(payload->data, samples->data, payload->len);
    payload->Free();
    return samples;
}

void MediaRelay::Queue(OSBuf* frame) {
    OSBuf* dropped = nullptr;
    {
        const CriticalSectionLock held(rxq_cs);
        rxq.Append(frame);
        rxok = true;
        if (rxq.Size() > MaxRxFrames) dropped = rxq.RemoveFirst();
    }
    if (dropped == nullptr) return;
    dropped->Free();
    channel->rxq_overruns.Add(1);
}

OSBuf* MediaRelay::GetRxBuf() {
    // What is queued in this moment can wait for the next tick; most ticks find nothing on a leg.
    if (rxq.IsEmpty()) return nullptr;
    const CriticalSectionLock held(rxq_cs);
    return rxok ? rxq.RemoveFirst() : nullptr;
}

int MediaRelay::PacketSize() const {
    const MSA& msa = channel->msa;
    if (CodecOf(msa.comp) == nullptr) return 0;
    if (msa.mfpp == 0) return DefaultPacketBytes;
    return msa.mfpp * (msa.comp == ControlMessage::G729 ? FrameBytes : media::SamplesPerMs);
}

int MediaRelay::Send(OSBuf* frame) {
    txstarted = true;
    const int len = PacketSize();
    if (len == 0) {
        frame->Free();
        channel->txdiscards2.Add(1);
        return 0;
    }
    txq.Append(frame);
    txlen += frame->len;
    while (txlen >= static_cast<ULONG>(len))
        if (OSBuf* packet = Gather(len)) Transmit(packet);
    return 0;
}

OSBuf* MediaRelay::TakeTx() {
    OSBuf* frame = txq.RemoveFirst();
    txlen -= frame->len;
    return frame;
}

// A packet of at most `len` bytes from the frames that wait; null when the first alone is longer than that.
OSBuf* MediaRelay::Gather(int len) {
    OSBuf* first = TakeTx();
    if (first->len > len) {
        static RateLimit limit;
        if (limit.Allow()) {
            Console->Print("MediaRelay::Send - buffer overrun 1!!! (buf len %d, req len %d)", first->len,
                           len);
        }
        first->Free();
        return nullptr;
    }
    OSBuf* packet = NewBuffer(len);
    int filled = Pack(*packet, 0, first);
    while (filled < len && !txq.IsEmpty()) {
        OSBuf* next = TakeTx();
        const int left = len - filled;
        if (next->len > left) {
            static RateLimit limit;
            if (limit.Allow()) {
                Console->Print("MediaRelay::Send - buffer overrun 2!!! (buf len %d, req len %d)", next->len,
                               left);
            }
            next->Free();
            break;
        }
        filled = Pack(*packet, filled, next);
    }
    packet->len = static_cast<UWORD>(filled);
    return packet;
}

// Copies a frame behind the `filled` bytes of a packet and releases it; how many are filled then.
int MediaRelay::Pack(OSBuf& packet, int filled, OSBuf* frame) {
    const int len = frame->len;
    memcpy(packet.data + filled, frame->data, len);
    delay.Add(os_clock() - frame->stamp);
    delay_count.Add(1);
    frame->Free();
    return filled + len;
}

OSBuf* MediaRelay::Encode(OSBuf* samples) {
    OSBuf* packet = NewBuffer(samples->len / G729Ratio);
    g729coder.Encode(samples->data, packet->data, samples->len);
    samples->Free();
    return packet;
}

void MediaRelay::Transmit(OSBuf* packet) {
    const ULONG samples = packet->len;
    if (channel->msa.comp == ControlMessage::G729) packet = Encode(packet);
    packet->PushData(&ts, sizeof ts);
    ts += samples;
    Bound()->DatagramIndication(packet, nullptr, nullptr);
    channel->txcount.Add(1);
}
