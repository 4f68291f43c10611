// The timers of a trigger loop: a binary heap whose entries know their place.
#include "platform/kernel/Clock.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/kernel/TriggerLoop.h"

namespace kernel {

void TriggerLoop::Arm(OSTimerTrigger& timer, std::uint64_t deadline) {
    const CriticalSectionLock guard(lock);
    if (closed) return;
    timer.deadline = deadline;
    if (timer.heapIndex < 0) {
        timers.push_back(&timer);
        timer.heapIndex = static_cast<int>(timers.size()) - 1;
    }
    SiftUp(static_cast<std::size_t>(timer.heapIndex));
    SiftDown(static_cast<std::size_t>(timer.heapIndex));
    if (deadline < sleepingUntil) Wake();
}

void TriggerLoop::Disarm(OSTimerTrigger& timer) {
    const CriticalSectionLock guard(lock);
    if (closed || timer.heapIndex < 0) return;
    const auto at = static_cast<std::size_t>(timer.heapIndex);
    OSTimerTrigger* last = timers.back();
    timers.pop_back();
    timer.heapIndex = -1;
    if (last == &timer) return;
    PlaceTimer(at, last);
    SiftUp(at);
    SiftDown(static_cast<std::size_t>(last->heapIndex));
}

bool TriggerLoop::IsArmed(const OSTimerTrigger& timer) {
    const CriticalSectionLock guard(lock);
    return !closed && timer.heapIndex >= 0;
}

// Called under the lock.
void TriggerLoop::MarkDueTimers() {
    const std::uint64_t now = os_clock_us();
    while (!timers.empty() && timers.front()->deadline <= now) {
        OSTimerTrigger* timer = timers.front();
        Disarm(*timer);
        if (timer->ready) continue;
        timer->ready = true;
        ready.push_back(timer);
    }
}

void TriggerLoop::PlaceTimer(std::size_t at, OSTimerTrigger* timer) {
    timers[at] = timer;
    timer->heapIndex = static_cast<int>(at);
}

void TriggerLoop::SiftUp(std::size_t at) {
    OSTimerTrigger* timer = timers[at];
    while (at > 0) {
        const std::size_t parent = (at - 1) / 2;
        if (timers[parent]->deadline <= timer->deadline) break;
        PlaceTimer(at, timers[parent]);
        at = parent;
    }
    PlaceTimer(at, timer);
}

void TriggerLoop::SiftDown(std::size_t at) {
    OSTimerTrigger* timer = timers[at];
    for (;;) {
        std::size_t child = 2 * at + 1;
        if (child >= timers.size()) break;
        if (child + 1 < timers.size() && timers[child + 1]->deadline < timers[child]->deadline) ++child;
        if (timer->deadline <= timers[child]->deadline) break;
        PlaceTimer(at, timers[child]);
        at = child;
    }
    PlaceTimer(at, timer);
}

}  // namespace kernel
