// A thread's trigger loop.
#include "platform/kernel/TriggerLoop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

#include "platform/kernel/Clock.h"
#include "platform/kernel/OSTimerTrigger.h"
#include "platform/kernel/OperatingSystem.h"
#include "platform/kernel/Scheduling.h"

namespace kernel {

namespace {

constexpr std::uint64_t MediaTurnMs = 2;
constexpr std::uint64_t Never = ~std::uint64_t{0};

thread_local std::shared_ptr<TriggerLoop> current;

// A thread that stops another reads its handle, and may signal it after the other has ended its loop. The
// handles of ended loops stay valid: a process ends two or three.
void KeepForLateSignals(std::shared_ptr<TriggerLoop> ended) {
    static std::mutex mutex;
    static auto& kept = *new std::vector<std::shared_ptr<TriggerLoop>>;
    const std::lock_guard<std::mutex> guard(mutex);
    kept.push_back(std::move(ended));
}

}  // namespace

TriggerLoop::TriggerLoop()
    : epoll(epoll_create1(EPOLL_CLOEXEC)),
      wakeup(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      batch(std::make_unique<ReceiveBatch>()) {
    InitializeCriticalSection(&lock);
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = nullptr;
    epoll_ctl(epoll, EPOLL_CTL_ADD, wakeup, &event);
}

TriggerLoop::~TriggerLoop() {
    Close();
    DeleteCriticalSection(&lock);
}

std::shared_ptr<TriggerLoop> TriggerLoop::Current() {
    return current;
}

void TriggerLoop::MakeCurrent() {
    if (current == nullptr) current = std::make_shared<TriggerLoop>();
}

void TriggerLoop::EndCurrent() {
    if (current == nullptr) return;
    current->Close();
    KeepForLateSignals(std::move(current));
    current = nullptr;
}

void TriggerLoop::Close() {
    const CriticalSectionLock guard(lock);
    if (closed.exchange(true)) return;
    System().CloseDescriptor(epoll);
    System().CloseDescriptor(wakeup);
    batch.reset();
    pending.clear();
    ready.clear();
    timers.clear();
}

void TriggerLoop::Set() {
    const CriticalSectionLock guard(lock);
    Wake();
}

void TriggerLoop::Wake() {
    if (closed) return;
    const std::uint64_t one = 1;
    // The counter is full only when the loop has long been woken.
    [[maybe_unused]] const ssize_t written = write(wakeup, &one, sizeof one);
}

bool TriggerLoop::Wait(int ms) {
    const std::uint64_t end =
        ms < 0 ? Never : os_clock_us() + static_cast<std::uint64_t>(ms) * MicrosecondsPerMs;
    GatherMedia();
    while (!closed) {
        const std::uint64_t now = os_clock_us();
        const std::int64_t left =
            end == Never ? -1 : std::max<std::int64_t>(static_cast<std::int64_t>(end - now), 0);
        const std::int64_t toTimer = MicrosecondsToTimer();
        Collect(toTimer < 0 ? left : left < 0 ? toTimer : std::min(left, toTimer));
        if (HasWork()) return true;
        if (end != Never && os_clock_us() >= end) return false;
    }
    return false;
}

// Under load a wake-up for each packet costs more than the packet. A loop that has read media rests until the
// next odd millisecond, and then finds the packets of many sockets at once.
void TriggerLoop::GatherMedia() {
    if (mediaServed == 0) return;
    const std::uint64_t now = os_clock_us();
    const std::uint64_t turn = ((mediaServed + 1) / MediaTurnMs * MediaTurnMs + 1) * MicrosecondsPerMs;
    const std::int64_t toTimer = MicrosecondsToTimer();
    const std::uint64_t end = toTimer < 0 ? turn : std::min(turn, now + static_cast<std::uint64_t>(toTimer));
    if (end > now) System().SleepUntil(end);
}

// Whether a wake-up, a readable socket, a ready trigger or a due timer waits for Poll.
bool TriggerLoop::HasWork() {
    if (signalled || !pending.empty()) return true;
    return MicrosecondsToTimer() == 0;
}

// 0 when something is ready now, -1 when no timer is armed.
std::int64_t TriggerLoop::MicrosecondsToTimer() {
    const CriticalSectionLock guard(lock);
    sleepingUntil = 0;
    if (!ready.empty()) return 0;
    sleepingUntil = Never;
    if (timers.empty()) return -1;
    const std::uint64_t now = os_clock_us();
    const std::uint64_t due = timers.front()->deadline;
    sleepingUntil = due;
    return due <= now ? 0 : static_cast<std::int64_t>(due - now);
}

void TriggerLoop::Collect(std::int64_t timeout) {
    collected = true;
    const int count = System().WaitEvents(epoll, events, timeout);
    for (int i = 0; i < count; ++i) {
        auto* socket = static_cast<Readable*>(events[static_cast<std::size_t>(i)].data.ptr);
        if (socket != nullptr) {
            pending.push_back(socket);
            continue;
        }
        std::uint64_t signals = 0;
        signalled = read(wakeup, &signals, sizeof signals) > 0 || signalled;
    }
}

void TriggerLoop::Poll() {
    if (closed) return;
    if (!collected) Collect(0);
    collected = false;
    signalled = false;
    PollTriggers();
    PollSockets();
}

void TriggerLoop::PollTriggers() {
    std::size_t turns = 0;
    {
        const CriticalSectionLock guard(lock);
        sleepingUntil = 0;
        MarkDueTimers();
        turns = ready.size();
    }
    // What fires meanwhile has its turn in the next poll, behind the sockets.
    for (; turns > 0 && !closed; --turns) {
        OSTrigger* trigger = TakeReady();
        if (trigger == nullptr) return;
        trigger->Run();
    }
}

void TriggerLoop::PollSockets() {
    ++turn;
    bool media = false;
    for (std::size_t i = 0; i < pending.size() && !closed; ++i) {
        if (pending[i] == nullptr) continue;
        media = media || pending[i]->IsMedia();
        pending[i]->OnReadable();
    }
    if (!pending.empty()) EndTurn();
    mediaServed = media && !IsBusy() ? os_clock_us() / MicrosecondsPerMs : 0;
    pending.clear();
}

int TriggerLoop::Add(Readable& socket, int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = &socket;
    return closed || epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) != 0 ? errno : 0;
}

void TriggerLoop::Remove(Readable& socket, int fd) {
    if (!closed) epoll_ctl(epoll, EPOLL_CTL_DEL, fd, nullptr);
    std::replace(pending.begin(), pending.end(), &socket, static_cast<Readable*>(nullptr));
}

void TriggerLoop::MarkReady(OSTrigger& trigger) {
    const CriticalSectionLock guard(lock);
    if (closed || trigger.ready) return;
    trigger.ready = true;
    ready.push_back(&trigger);
    if (sleepingUntil != 0) Wake();
}

void TriggerLoop::Forget(OSTrigger& trigger) {
    const CriticalSectionLock guard(lock);
    if (!trigger.ready) return;
    trigger.ready = false;
    std::erase(ready, &trigger);
}

OSTrigger* TriggerLoop::TakeReady() {
    const CriticalSectionLock guard(lock);
    if (ready.empty()) return nullptr;
    OSTrigger* trigger = ready.front();
    ready.erase(ready.begin());
    trigger->ready = false;
    return trigger;
}

}  // namespace kernel
