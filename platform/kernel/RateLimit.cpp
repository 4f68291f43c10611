// One report in an interval.
#include "platform/kernel/RateLimit.h"

#include "platform/kernel/Clock.h"

bool RateLimit::Allow() {
    const std::uint64_t now = os_clock_us();
    std::uint64_t due = next.load(std::memory_order_relaxed);
    return now >= due && next.compare_exchange_strong(due, now + interval * MicrosecondsPerMs);
}
