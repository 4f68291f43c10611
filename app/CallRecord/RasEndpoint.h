// The module's registration with its gatekeeper: registers, follows the outcome, and registers again 3
// seconds after a request that went unanswered or a registration that was lost.
//
// Made, used and destroyed on the module thread, which runs its callbacks.
#pragma once

#include "common/UStringX.h"
#include "platform/h323/RasClient.h"
#include "platform/kernel/OSTimerTrigger.h"

class Compressor;

class RasEndpoint : public RasClient {
 public:
    enum State { Unregistered = 0, SentGRQ = 1, SentRRQ = 2, Registered = 3 };

    // `port`: the local RAS port, 0 for one that the system chooses.
    RasEndpoint(Compressor* compressor, unsigned short port);
    ~RasEndpoint() override = default;

    // Registers `alias` at `gatekeeper` (null: address 0); retries do the same.
    void Register(const UString* alias, const SockAddr* gatekeeper);
    // Withdraws the registration or the request for one; OnUnregistered tells when it is gone.
    void Unregister();

    State GetState() const { return state; }

    // Admission and disengage of calls: whether the library did it.
    bool CallRequest(H323Call* call, const wchar_t* from, const wchar_t* to, int bandwidth);
    bool CallFinished(H323Call* call, int reason);

 protected:
    // Cut to a line of 1023 bytes.
    [[gnu::format(printf, 2, 3)]] void Trace(const char* fmt, ...) override;
    bool OnRCF(RasMessage& message, SockAddr& from) override;
    bool OnRRJ(RasMessage& message, SockAddr& from) override;
    bool OnRegistered() override;
    bool OnUnregistered() override;
    void OnGRQ_Timeout(RasTransaction* t) override;
    void OnRRQ_Timeout(RasTransaction* t) override;

 private:
    static void _RetryTimer(OSObj* endpoint, void* param, unsigned long value);

    void Register();
    void RetryLater();

    State state = Unregistered;
    OSTimerTrigger retryTimer{0, 0};
    Compressor* const compressor;
    SockAddr gkaddr;
    UString hwid;  // the alias
};
