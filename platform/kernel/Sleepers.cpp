// Counting and parking of sleeping threads.
#include "platform/kernel/Sleepers.h"

#include <unistd.h>

#include <atomic>

#include "platform/kernel/OperatingSystem.h"

namespace kernel {

namespace {

std::atomic<bool> parking{false};
std::atomic<int> known{0};
std::atomic<int> parked{0};

// Known from a thread's first sleep until it ends.
struct Membership {
    Membership() { known.fetch_add(1); }
    ~Membership() { known.fetch_sub(1); }
    Membership(const Membership&) = delete;
    Membership& operator=(const Membership&) = delete;
};

thread_local bool parker = false;
thread_local bool member = false;

void ParkIfAsked() {
    if (!parking.load(std::memory_order_acquire) || parker) return;
    parked.fetch_add(1);
    for (;;) pause();
}

}  // namespace

void Sleepers::Enter() {
    if (!member) {
        static thread_local const Membership membership;
        member = true;
    }
    ParkIfAsked();
}

void Sleepers::Leave() {
    ParkIfAsked();
}

void Sleepers::ParkAll(int ms) {
    parker = true;
    const int self = member ? 1 : 0;
    parking.store(true, std::memory_order_release);
    constexpr std::uint64_t StepUs = 1000;
    for (int i = 0; i < ms && parked.load() < known.load() - self; ++i) {
        System().SleepUntil(System().MonotonicMicroseconds() + StepUs);
    }
}

void Sleepers::Reopen() {
    known.fetch_sub(parked.exchange(0));
    parker = false;
    parking.store(false);
}

}  // namespace kernel
