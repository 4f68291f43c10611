// The search for the gatekeeper with which the module registers: one request after the other until a
// gatekeeper answers whose identifier begins with "!". That one ends the search for the life of the process.
//
// Made, used and destroyed on the discovery thread, which runs its callbacks.
#pragma once

#include "common/UStringX.h"
#include "platform/h323/RasClient.h"
#include "platform/kernel/OSTimerTrigger.h"

class Discovery;

class RasDiscovery : public RasClient {
 public:
    enum State { Unregistered = 0, SentGRQ = 1, GatekeeperFound = 2 };

    // `port`: the local RAS port, 0 for one that the system chooses.
    RasDiscovery(Discovery* discovery, unsigned short port);
    ~RasDiscovery() override;

    // Searches in the name of `alias` at `gatekeeper`, or by multicast when that is null or has address 0;
    // retries go to the same place.
    void Discover(const UString* alias, const SockAddr* gatekeeper);

    State GetState() const { return state; }

    // The first gatekeeper of the latest search that is ours, or the first of all; false without a reply.
    bool PreferredGk(SockAddr& address, UString& gkid) const;

 protected:
    void OnGRQ_Timeout(RasTransaction* t) override;

 private:
    static void _RetryTimer(OSObj* search, void* param, unsigned long value);

    void Discover();
    const RasGkInfo* OurGatekeeper() const;
    void Found(const RasGkInfo& gatekeeper);

    State state = Unregistered;
    OSTimerTrigger retryTimer{0, 0};
    SockAddr gkaddr;  // address 0: by multicast
    UString hwid;     // the alias of the search
    Discovery* const discovery;
};
