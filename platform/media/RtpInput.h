// The receiving half of an endpoint, bound above its data socket: checks each datagram and gives the payload
// to the media sink, telephone events to the digit callback. The sockets' thread.
#pragma once

#include <atomic>

#include "platform/kernel/OSIO.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/media/Discards.h"
#include "platform/media/RtcpPacket.h"
#include "platform/media/RtpHeader.h"
#include "platform/media/SequenceTracker.h"
#include "platform/media/SrtpGate.h"
#include "platform/media/StreamAttributes.h"
#include "platform/media/TelephoneEventReceiver.h"

namespace media {

class RtpInput final : public OSIO, private TelephoneEventReceiver::Listener {
 public:
    using DigitCallback = void (*)(void* context, char digit, int duration);

    // `owner` is told when the socket goes.
    RtpInput(OSIO& owner, SrtpGate& gate, Discards& discards);
    ~RtpInput() override = default;

    void SetSink(OSIO* newSink) { sink = newSink; }
    void SetDigitCallback(DigitCallback function, void* context);
    void Start(const StreamAttributes& attributes);
    // The peer has left with BYE: a stream that comes later is a new one.
    void OnBye(const RtcpPacket& bye);

    // What to report about the source heard since the last call; nothing when none was.
    std::optional<RtcpReportBlock> TakeReport();
    ULONG SequenceErrors() const { return audio.SequenceErrors() + foreignEvents.SequenceErrors(); }
    ULONG TimingErrors() const { return audio.TimingErrors() + foreignEvents.TimingErrors(); }

    OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* to) override;
    void LowerReleased(OSIO* lower) override { owner.LowerReleased(lower); }

 private:
    OSIORetCode OnPacket(OSBuf* buf, const RtpPacketView& packet, const void* from);
    OSIORetCode OnAudio(OSBuf* buf, const RtpPacketView& packet, const void* from);
    OSIORetCode OnEvent(OSBuf* buf, const RtpPacketView& packet, const void* from);
    OSIORetCode Deliver(OSBuf* buf, const RtpPacketView& packet, const void* from);
    void WatchDigit();
    void OnDigit(char digit, int durationMs) override;
    void OnExcessDigit() override;
    static void DigitTimer(OSObj* object, void* param, unsigned long value);

    OSIO& owner;
    SrtpGate& gate;
    Discards& discards;
    OSIO* sink = nullptr;
    DigitCallback callback = nullptr;
    void* callbackContext = nullptr;
    bool started = false;
    StreamAttributes stream;
    SequenceTracker audio;
    SequenceTracker foreignEvents;  // of events under an SSRC of their own, as some peers send them
    bool heard = false;             // since the last report
    TelephoneEventReceiver digits;
    OSTimerTrigger digitTimer;
};

}  // namespace media
