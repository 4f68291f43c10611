// The real-time thread of a pair in software mode: every 10 ms it moves the frames that each leg received to
// the other leg, and mixes the conference that the internal leg hosts.
#pragma once

#include <atomic>

#include "common/simplethread.h"
#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/Event.h"
#include "platform/kernel/Types.h"

class MediaPair;
class MediaRelay;

class RelayThread : public SimpleThread {
 public:
    // Runs from here on. The pair outlives the thread.
    explicit RelayThread(MediaPair* pair);
    // Stops the thread and waits for it: about one cycle.
    ~RelayThread() override;

    void OnStop() override;
    void Main() override;

    // How long to sleep at the end of a cycle that has `spare` milliseconds left (negative: it overran).
    static ULONG SleepTime(int spare) { return spare <= 2 ? 1 : static_cast<ULONG>(spare) - 1; }

 private:
    void Settle();
    void RaisePriority();
    ULONG JoinGrid();
    void Cycle();
    void Transfer(MediaRelay* irelay, MediaRelay* erelay, bool conference);
    void Pace(const MediaRelay& irelay, const MediaRelay* erelay);
    void Rest(ULONG deadline);

    MediaPair* const parent;
    std::atomic<bool> done{false};
    HANDLE event;
    CRITICAL_SECTION cs;

    // Values of the cycle: frame limits and pacing phases of both directions.
    int loopmaxi2e = 0;
    int loopmaxe2i = 0;
    int idelayrelay = 0;
    int edelayrelay = 0;
};
