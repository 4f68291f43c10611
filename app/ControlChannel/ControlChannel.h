// The module's end of the control protocol: carries out the call server's requests, acknowledges each, and
// reports the digits that external legs detect. Format and exchange: docs/control-protocol.md.
//
// Created, used and destroyed on the module thread, whose trigger loop runs its socket, its timer and the
// reports of the RTP driver.
#pragma once

#include <memory>

#include "app/ControlChannel/ControlMessage.h"
#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/kernel/SockAddr.h"

class KeyBlock;
class MediaChannel;
class RTPDevice;

class ControlChannel : public OSIO {
 public:
    // `base`: the media port of channel 0. Opens the control socket on a port that the system chooses, and on
    // the telephony server's own hardware the driver's report device.
    explicit ControlChannel(int base);
    // Media pairs stay as they are.
    ~ControlChannel() override;

    // The port that the call server sends to.
    UWORD GetPort() const;

    // One console line with the class prefix, cut to 1023 bytes.
    [[gnu::format(printf, 2, 3)]] void Trace(const char* format, ...) const;

    // To the source of the latest datagram.
    void Send(const ControlMessage& msg);
    void SendToNetwork(OSBuf* buf);

    // A datagram from the SockAddr `src`. One without its fixed part is dropped, which is named.
    OSIORetCode DatagramIndication(OSBuf* buf, void* src, void* dst) override;
    // Carries a request out and acknowledges it, whatever became of it; other messages are only traced.
    void Receive(ControlMessage& msg);

    void OnMap(ControlMessage& msg);
    void OnUnmap(ControlMessage& msg);
    void OnHoldMusic(ControlMessage& msg);
    void OnFreeChan(ControlMessage& msg);
    void OnConferenceAdd(ControlMessage& msg);
    void OnConferenceRemove(ControlMessage& msg);
    void OnSendDigit(ControlMessage& msg);

    // Reports `key`, detected on stream `channel` (channel number + 512), to the call server when that is an
    // external leg that exists. `obj` is the control channel; `duration` in milliseconds.
    static void RtpDtmfCallback(void* obj, int channel, char key, int duration);
    // The 10-second statistics; `obj` is the control channel.
    static void TraceTimer(OSObj* obj, void* param, unsigned long value);

 private:
    void Acknowledge();
    // Enables SRTP with the keys of a Map on the leg's endpoint, if it has one; false when the keys are bad.
    bool Protect(const MediaChannel& side, const ControlMessage& msg);
    void TraceKeys(const KeyBlock& keys) const;
    void TraceRtpStats(const MediaChannel& side) const;

    int portbase;
    AsyncSocket* s;
    int rx_seq = 0;  // of the message being handled; behind an acknowledgement one more than it
    std::unique_ptr<RTPDevice> rtpDtmf;  // null but on the telephony server's own hardware
    OSTimerTrigger traceTimer{0, 0};
    SockAddr addr;  // source of the latest datagram
};
