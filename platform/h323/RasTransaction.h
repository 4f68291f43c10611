// One request on its way: sent again until it is answered or its time is over.
#pragma once

#include <vector>

#include "platform/kernel/OSIO.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/kernel/SockAddr.h"

// The same datagram, with the same sequence number, goes out `Attempts` times, spread evenly over the time of
// the request. An object serves one request after another. All on the thread that created it.
class RasTransaction {
 public:
    static constexpr unsigned Attempts = 3;

    // Called once when the time of a request is over, which by then is no longer pending:
    // (`owner`, the transaction, 0).
    RasTransaction(OSCallback::Function onTimeOut, OSObj* owner);

    // Sends `datagram` through `socket` to `to`, now and again, and times out after `ms`. Without an address
    // or datagram nothing is sent, and the request only times out. Replaces a request that is pending.
    // False when the first could not be sent.
    bool Begin(OSIO* socket, std::vector<UBYTE> datagram, UWORD sequence, const SockAddr& to, ULONG ms);

    // The request is answered or given up: no time-out follows.
    void End();

    bool IsPending() const { return pending; }

    // Whether an answer with this number from this host belongs to the pending request. Anyone may answer a
    // multicast; the port never matters, for a gatekeeper may answer from another than it was asked at.
    bool IsAnsweredBy(UWORD number, const SockAddr& from) const;

    // The one asked needs `ms` more (RequestInProgress): then the request goes out once more and times out.
    // At most `Extensions` times a request.
    void Extend(ULONG ms);

    UWORD Sequence() const { return sequence; }
    const SockAddr& Destination() const { return destination; }

 private:
    static constexpr unsigned Extensions = 10;

    static void _Expired(OSObj* transaction, void* param, unsigned long value);
    void Expired();
    bool Attempt();

    OSTimerTrigger timer;
    OSCallback::Function onTimeOut;
    OSObj* owner;
    OSIO* socket = nullptr;
    std::vector<UBYTE> datagram;
    SockAddr destination;
    UWORD sequence = 0;
    bool pending = false;
    unsigned attemptsLeft = 0;
    unsigned extensionsLeft = 0;
    ULONG step = 0;  // between two attempts [ms]
    ULONG left = 0;  // of the request's time, from the latest attempt on [ms]
};
