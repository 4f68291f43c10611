// What an RTPEndPoint consists of in software: the two directions, the control protocol, their sockets and
// timers. Threads as there.
#pragma once

#include <optional>

#include "platform/kernel/OSTimerTrigger.h"
#include "platform/media/Discards.h"
#include "platform/media/RtcpControl.h"
#include "platform/media/RtpCallStats.h"
#include "platform/media/RtpInput.h"
#include "platform/media/RtpOutput.h"
#include "platform/media/StreamKeys.h"

namespace media {

class RtpSession {
 public:
    // `owner` hears of sockets that go; `discardCount` is its counter.
    RtpSession(OSIO& owner, ULONG& discardCount, int syscomptype);
    ~RtpSession();
    RtpSession(const RtpSession&) = delete;
    RtpSession& operator=(const RtpSession&) = delete;

    void BindData(OSIO* socket);
    void BindControl(OSIO* socket);
    void Release(const OSIO* lower);
    void Start(const SockAddr& localRtp, const StreamAttributes& attributes);
    // False, and both directions shut, without keys or when they are refused.
    bool Protect(const std::optional<StreamKeys>& keys);
    void SendDigit(char digit, int duration);
    void FillStats(_rtp_callstats& stats) const;

    const int syscomptype;
    Discards discards;
    SrtpGate inboundGate;
    RtpInput input;
    RtpOutput output;
    RtcpControl rtcp;

 private:
    void SendEvents();
    static void EventTimer(OSObj* object, void* param, unsigned long value);

    OSTimerTrigger eventTimer;
    OSIO* data = nullptr;
    OSIO* control = nullptr;
};

}  // namespace media
