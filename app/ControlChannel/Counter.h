// A plain statistic: one thread counts, another reads and resets. No order with anything else is promised.
#pragma once

#include <atomic>

#include "platform/kernel/Types.h"

class Counter {
 public:
    void Add(ULONG amount) { value.fetch_add(amount, std::memory_order_relaxed); }
    void Reset() { value.store(0, std::memory_order_relaxed); }
    // Reads and resets.
    ULONG Take() { return value.exchange(0, std::memory_order_relaxed); }
    operator ULONG() const { return value.load(std::memory_order_relaxed); }

 private:
    std::atomic<ULONG> value{0};
};
