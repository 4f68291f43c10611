// Telephone events in any order and shape: no press is reported twice while it is remembered, a flood is
// bounded, and what our own sender makes is always one digit.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "platform/media/ByteOrder.h"
#include "platform/media/TelephoneEventReceiver.h"
#include "platform/media/TelephoneEventSender.h"

namespace {

class Keys : public media::TelephoneEventReceiver::Listener {
 public:
    void OnDigit(char digit, int durationMs) override {
        if (digit == '\0' || durationMs < 0) std::abort();
        count++;
        last = digit;
    }
    ULONG count = 0;
    char last = '\0';
};

// Steps of ten bytes: what, milliseconds, SSRC, time stamp, payload.
void Receive(std::span<const UBYTE> bytes) {
    Keys keys;
    media::TelephoneEventReceiver receiver(keys);
    ULONG now = 0;
    for (; bytes.size() >= 10; bytes = bytes.subspan(10)) {
        now += bytes[1];
        const ULONG timestamp = media::Get32(&bytes[2]);
        const size_t length = std::min<size_t>(bytes[0] % 9, bytes.size() - 6);
        if ((bytes[0] & 0x80) != 0) receiver.OnAudio(bytes[0] & 1, timestamp, now);
        if ((bytes[0] & 0x80) == 0) {
            const bool whole = length > 0 && length % 4 == 0;
            if (receiver.OnEventPacket(bytes[0] & 1, timestamp, bytes.subspan(6, length), now) != whole)
                std::abort();
        }
        receiver.OnTime(now);
    }
    receiver.Flush(now);
    if (keys.count > now / media::TelephoneEventReceiver::MinDigitIntervalMs + 33) std::abort();
}

// A digit of ours through a network that loses, repeats and reorders, but not all of it.
void Relay(std::span<const UBYTE> bytes) {
    if (bytes.size() < 8) return;
    Keys keys;
    media::TelephoneEventReceiver receiver(keys);
    media::TelephoneEventSender sender(10 + bytes[0] % 50);
    sender.Add("0123456789*#ABCD"[bytes[1] % 16], 40 + bytes[2]);
    std::vector<media::TelephoneEventSender::Packet> sent;
    for (ULONG now = 0; sender.IsBusy(); now += sender.NextPoll(now)) {
        if (const auto packet = sender.Poll(now, now * 8)) sent.push_back(*packet);
    }
    for (const UBYTE pick : bytes.subspan(3)) {
        const auto& packet = sent[pick % sent.size()];
        UBYTE payload[4];
        packet.event.Write(payload);
        receiver.OnEventPacket(1, packet.timestamp, payload, 100);
    }
    receiver.Flush(200);
    if (keys.count != 1 || keys.last != "0123456789*#ABCD"[bytes[1] % 16]) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UBYTE* bytes, size_t size) {
    Receive({bytes, size});
    Relay({bytes, size});
    return 0;
}
