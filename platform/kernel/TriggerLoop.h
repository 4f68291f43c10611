// One thread's trigger loop: an epoll instance that all of the thread's sockets, timers and ready triggers
// wake.
//
// Sockets are added, removed and read by the owning thread alone; triggers are armed, fired and cancelled by
// any. A loop outlives its thread's use of it, so that a late Set on its handle is harmless.
#pragma once

#include <sys/epoll.h>

#include <array>
#include <atomic>
#include <memory>
#include <vector>

#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/Event.h"
#include "platform/kernel/Readable.h"
#include "platform/kernel/ReceiveBatch.h"

class OSTimerTrigger;
class OSTrigger;

namespace kernel {

class TriggerLoop final : public Waitable {
 public:
    TriggerLoop();
    ~TriggerLoop() override;
    TriggerLoop(const TriggerLoop&) = delete;
    TriggerLoop& operator=(const TriggerLoop&) = delete;

    // The calling thread's loop, null when it has none.
    static std::shared_ptr<TriggerLoop> Current();
    static void MakeCurrent();
    static void EndCurrent();

    void Set() override;
    bool Wait(int ms) override;
    void Poll();

    int Add(Readable& socket, int fd);
    void Remove(Readable& socket, int fd);
    ReceiveBatch& Batch() { return *batch; }
    // The number of the poll that reads its sockets, and whether these are so many that there is no time to
    // rest.
    ULONG Turn() const { return turn; }
    bool IsBusy() const { return pending.size() >= EventsPerWait / 2; }

    void Arm(OSTimerTrigger& timer, std::uint64_t deadline);
    void Disarm(OSTimerTrigger& timer);
    bool IsArmed(const OSTimerTrigger& timer);
    void MarkReady(OSTrigger& trigger);
    // Forgets a trigger that is ready and has not run.
    void Forget(OSTrigger& trigger);

 private:
    void Close();
    void Collect(std::int64_t timeout);
    void GatherMedia();
    void Wake();
    void PollTriggers();
    void PollSockets();
    OSTrigger* TakeReady();
    void MarkDueTimers();
    std::int64_t MicrosecondsToTimer();
    bool HasWork();
    void SiftUp(std::size_t at);
    void SiftDown(std::size_t at);
    void PlaceTimer(std::size_t at, OSTimerTrigger* timer);

    static constexpr int EventsPerWait = 512;

    int epoll = -1;
    int wakeup = -1;  // eventfd
    std::atomic<bool> closed{false};
    std::unique_ptr<ReceiveBatch> batch;

    // The owning thread's alone.
    std::array<epoll_event, EventsPerWait> events{};
    std::vector<Readable*> pending;  // readable; null where removed meanwhile
    bool collected = false;          // since the last Poll
    bool signalled = false;          // the wake-up was taken
    ULONG turn = 0;
    std::uint64_t mediaServed = 0;  // the millisecond in which media sockets were last read

    CRITICAL_SECTION lock;
    std::vector<OSTrigger*> ready;        // guarded by `lock`, as are the heap and `sleepingUntil`
    std::vector<OSTimerTrigger*> timers;  // a binary heap, earliest first
    std::uint64_t sleepingUntil = 0;      // 0: awake
};

}  // namespace kernel
