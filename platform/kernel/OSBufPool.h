// One pool of kernel buffers of a size: a stack of those that are free, in memory that it does not own.
//
// Pop and Push are for any thread and take no lock: real-time threads share the pools with ordinary ones, and
// a thread that loses its processor in the middle holds up nobody.
#pragma once

#include <atomic>

#include "platform/kernel/Types.h"

class OSBuf;

class alignas(64) OSBufPool {
 public:
    // Empty, for buffers with `room` bytes that lie one each `stride` bytes from `memory` on. `index`: which
    // of the pools this is. As Add and Close, while no other thread uses the pool.
    void Open(int index, UBYTE* memory, std::size_t stride, int room);
    // Adds the next buffer, as a free one; where the one behind it belongs.
    UBYTE* Add(OSBuf* buf);
    // Forgets all buffers: Pop finds none from then on.
    void Close();

    OSBuf* Pop();  // null when the pool is dry
    void Push(OSBuf* buf);

    // The buffer with the number `slot` (0 to made - 1), free or not.
    OSBuf* At(int slot) const;

    int size = 0;              // bytes of room of each buffer
    int made = 0;              // buffers that belong to it
    std::atomic<int> free{0};  // buffers in the pool now

 private:
    // The number of the first free buffer plus one (0: none), and a count of changes, by which a thread
    // notices that the buffer it saw first has been taken and returned meanwhile.
    std::atomic<std::uint64_t> head{0};
    UBYTE* base = nullptr;
    std::size_t step = 0;
    int number = 0;
};
