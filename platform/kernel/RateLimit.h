// At most one report a second of one kind, for the whole process. One static object a kind; any thread.
#pragma once

#include <atomic>

#include "platform/kernel/Types.h"

class RateLimit {
 public:
    explicit RateLimit(ULONG intervalMs = 1000) : interval(intervalMs) {}

    // True when the caller may report now; then the next may in `interval` milliseconds.
    bool Allow();

 private:
    const ULONG interval;
    std::atomic<std::uint64_t> next{0};  // os_clock_us value from which on the next may report
};
