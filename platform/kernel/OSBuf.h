// A kernel buffer: one datagram, payload or frame, from one of four pools.
//
// A buffer's room lies in front of its data: Alloc(n) gives an empty buffer with room for n bytes, and
// PushDown claims bytes in front of what is there, so that each layer on the way down puts its header before
// the payload. Behind the data there is always room for `buf_min_space` bytes more (Append: authentication
// tags). A buffer belongs to whoever received it last, and is returned with Free. Alloc and Free: any thread,
// O(1).
#pragma once

#include <atomic>
#include <span>
#include <vector>

#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/OSBufPool.h"
#include "platform/kernel/OSLinkListObj.h"
#include "platform/kernel/Types.h"

class OSBuf final : public OSLinkListObj {
 public:
    static constexpr int PoolCount = 4;

    // The buffers that are allocated. Call it under OS_CRITICAL_BUFFERS, which keeps those of the heap; those
    // of the pools come and go meanwhile, but their memory stays.
    class AllocatedList {
     public:
        std::vector<OSBuf*> OldestFirst() const;  // to the microsecond
        int Size() const;
    };

    // A buffer with room for `bytes` bytes (at most 65535 are usable), stamped with os_clock(). A dry pool is
    // served from the next larger one, then from the heap: this never fails. Records the caller's code
    // address.
    [[nodiscard]] static OSBuf* Alloc(int bytes);

    void Free() override;

    // Claims `bytes` in front of the data and returns where they begin; null, and nothing claimed, without
    // the room.
    UBYTE* PushDown(int bytes);
    // Claims and fills them; false without the room.
    bool PushData(const void* bytes, int count);
    // Drops `bytes` (at most all) from the front of the data.
    void Strip(int bytes);
    // Makes room for `bytes` behind the data, part of the data from then on; null without the room.
    UBYTE* Append(int bytes);
    // A copy with the same data, stamp and headroom of at least 50 bytes.
    [[nodiscard]] OSBuf* Duplicate() const;
    // Dumps size, length and the first bytes to the console: the head of a message, never the keys it may
    // carry.
    void Print() const;

    // Bytes that PushDown can still claim, and Append.
    int Headroom() const { return static_cast<int>(data - store); }
    int Tailroom() const;

    std::span<UBYTE> Data() { return {data, len}; }
    std::span<const UBYTE> Data() const { return {data, len}; }

    UBYTE* data = nullptr;  // where the data begins
    UWORD len = 0;          // bytes of data; may be lowered by the owner
    UWORD size = 0;         // bytes of room that the buffer was made with
    // An os_clock value: when it was allocated, unless an owner set it since.
    std::atomic<ULONG> stamp{0};
    std::atomic<const void*> allocator{
        nullptr};  // code address of the caller of Alloc, null while it is free

    static OSBufPool buffer_pool[PoolCount];
    static std::atomic<int> min_count[PoolCount];  // lowest number of free buffers that each pool has had
    static const AllocatedList allocated_list;

 private:
    friend class OSBufPool;
    friend class OSBufPools;
    static OSBuf* Take(int bytes, const void* caller);

    std::atomic<bool> allocated{false};
    std::atomic<std::uint64_t> born{0};      // os_clock_us when it was allocated
    UBYTE* store = nullptr;                  // where the room begins
    int capacity = 0;                        // bytes of memory at `store`
    int pool = -1;                           // its pool, -1 for the heap
    int slot = 0;                            // its number in the pool
    std::atomic<std::uint32_t> nextFree{0};  // in the pool: the number of the next free one plus one
    OSBuf* heapPrev = nullptr;               // on the list of those of the heap
    OSBuf* heapNext = nullptr;
};

extern CRITICAL_SECTION OS_CRITICAL_BUFFERS;
