// A relay slot: an internal and an external leg and, in software mode, the thread that relays between them.
//
// The table of pairs, and every operation here, is the module thread's alone. `cs` guards the legs' sockets,
// endpoints, relays and conference lists against the relay threads. A conference host's relay thread takes a
// member pair's lock inside its own, so nobody may take a host's lock while holding a member's.
#pragma once

#include <memory>

#include "app/ControlChannel/Counter.h"
#include "app/ControlChannel/MediaChannel.h"
#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/OSIndirectList.h"
#include "platform/kernel/OSListObj.h"

class ControlChannel;
class RelayThread;

class MediaPair : public OSListObj {
 public:
    // The pair of channel `chan`; when there is none, null, or with `create` a new one whose media ports
    // count from `portbase` and which reports digits through `controlChan`. The table owns it until Free.
    static MediaPair* Get(ControlChannel* controlChan, int chan, int portbase, bool create);
    // Takes the pair out of the table and destroys it; null is ignored. Waits for the relay thread to end.
    static void Free(MediaPair* pair);

    // The pair with the even number `chan`; its relay thread runs from here on.
    MediaPair(int chan, int portbase);
    ~MediaPair() override;

    // The leg that carries channel `number`; only its lowest bit counts.
    MediaChannel* GetChannel(int number) const { return number % 2 != 0 ? external.get() : internal.get(); }

    // Makes `slave`'s internal leg a member of the conference that this pair's internal leg hosts, and undoes
    // it.
    void ConferenceAdd(MediaPair* slave) { internal->ConferenceAdd(slave->internal.get()); }
    void ConferenceRemove(MediaPair* slave) { internal->ConferenceRemove(slave->internal.get()); }

    // Prints the statistics of the last 10 seconds and starts the next period.
    void TraceStats();

    static OSIndirectList<MediaPair>& pairs;  // in order of creation

    ControlChannel* controlChan = nullptr;  // not owned
    const int chan;                         // even: the number of the internal leg
    std::unique_ptr<MediaChannel> internal;
    std::unique_ptr<MediaChannel> external;
    std::unique_ptr<RelayThread> thread;  // null on the telephony server's own hardware
    CRITICAL_SECTION cs;

    Counter sleep_total;  // milliseconds that the relay thread slept in this period
    Counter sleep_count;  // number of those sleeps
    Counter overruns;     // relay cycles that ended behind their deadline, ever
    Counter lost_bufs;    // kept for the record's layout; nothing counts here
};
