// The buffer pools.
#include "platform/kernel/OSBufPools.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include "platform/kernel/Clock.h"

namespace {

constexpr std::size_t CacheLine = 64;

int tailSpace = 32;

// What came from the heap, guarded by OS_CRITICAL_BUFFERS.
OSBuf* heapBuffers = nullptr;
int heapCount = 0;

std::size_t RoundUp(std::size_t bytes) {
    return (bytes + CacheLine - 1) / CacheLine * CacheLine;
}

std::size_t BytesOf(int size) {
    return sizeof(OSBuf) + static_cast<std::size_t>(size + tailSpace);
}

}  // namespace

void OSBufPools::Make(const KernelCfg& cfg) {
    tailSpace = cfg.buf_min_space;
    std::size_t total = 0;
    for (int i = 0; i < OSBuf::PoolCount; ++i) total += RoundUp(BytesOf(cfg.buf_size[i])) * cfg.buf_qty[i];
    auto* memory = total == 0 ? nullptr : static_cast<UBYTE*>(std::aligned_alloc(CacheLine, total));
    OS_MEMORY = memory == nullptr ? static_cast<void*>(OS_EMPTYPOOL) : memory;

    const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    for (int i = 0; i < OSBuf::PoolCount; ++i) {
        OSBufPool& pool = OSBuf::buffer_pool[i];
        pool.Open(i, memory, RoundUp(BytesOf(cfg.buf_size[i])), cfg.buf_size[i]);
        for (int n = 0; memory != nullptr && n < cfg.buf_qty[i]; ++n) {
            memory = pool.Add(Place(memory, cfg.buf_size[i], i));
        }
        OSBuf::min_count[i] = pool.free.load();
    }
}

void OSBufPools::Drop() {
    const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    for (OSBuf* buf = std::exchange(heapBuffers, nullptr); buf != nullptr;) {
        OSBuf* next = buf->heapNext;
        DeleteOnHeap(buf);
        buf = next;
    }
    heapCount = 0;
    for (OSBufPool& pool : OSBuf::buffer_pool) pool.Close();
}

OSBuf* OSBufPools::Place(void* memory, int size, int pool) {
    auto* buf = new (memory) OSBuf;
    buf->store = static_cast<UBYTE*>(memory) + sizeof(OSBuf);
    buf->capacity = size + tailSpace;
    buf->size = static_cast<UWORD>(std::min(size, 0xFFFF));
    buf->pool = pool;
    return buf;
}

OSBuf* OSBufPools::Take(int bytes, const void* caller) {
    OSBuf* buf = PopFrom(bytes);
    if (buf == nullptr) buf = MakeOnHeap(bytes);
    buf->data = buf->store + bytes;
    buf->len = 0;
    const std::uint64_t now = os_clock_us();
    buf->born.store(now, std::memory_order_relaxed);
    buf->stamp.store(static_cast<ULONG>(now / MicrosecondsPerMs), std::memory_order_relaxed);
    buf->allocator.store(caller, std::memory_order_relaxed);
    buf->allocated.store(true, std::memory_order_release);
    return buf;
}

OSBuf* OSBufPools::PopFrom(int bytes) {
    for (OSBufPool& pool : OSBuf::buffer_pool) {
        if (pool.size < bytes) continue;
        if (OSBuf* buf = pool.Pop()) return buf;
    }
    return nullptr;
}

void OSBufPools::Give(OSBuf* buf) {
    if (buf->pool >= 0) {
        buf->allocated.store(false, std::memory_order_relaxed);
        OSBuf::buffer_pool[buf->pool].Push(buf);
        return;
    }
    {
        const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
        (buf->heapPrev == nullptr ? heapBuffers : buf->heapPrev->heapNext) = buf->heapNext;
        if (buf->heapNext != nullptr) buf->heapNext->heapPrev = buf->heapPrev;
        --heapCount;
    }
    DeleteOnHeap(buf);
}

OSBuf* OSBufPools::MakeOnHeap(int bytes) {
    OSBuf* buf = Place(::operator new(BytesOf(bytes)), bytes, -1);
    const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    buf->heapNext = heapBuffers;
    if (heapBuffers != nullptr) heapBuffers->heapPrev = buf;
    heapBuffers = buf;
    ++heapCount;
    return buf;
}

void OSBufPools::DeleteOnHeap(OSBuf* buf) {
    buf->~OSBuf();
    ::operator delete(buf);
}

std::vector<OSBuf*> OSBuf::AllocatedList::OldestFirst() const {
    std::vector<std::pair<std::uint64_t, OSBuf*>> allocated;  // with what they are ordered by
    for (const OSBufPool& pool : buffer_pool) {
        for (int slot = 0; slot < pool.made; ++slot) {
            OSBuf* buf = pool.At(slot);
            if (buf->allocated.load(std::memory_order_acquire)) allocated.emplace_back(buf->born, buf);
        }
    }
    for (OSBuf* buf = heapBuffers; buf != nullptr; buf = buf->heapNext)
        allocated.emplace_back(buf->born, buf);
    std::sort(allocated.begin(), allocated.end());
    std::vector<OSBuf*> buffers;
    buffers.reserve(allocated.size());
    for (const auto& [born, buf] : allocated) buffers.push_back(buf);
    return buffers;
}

int OSBuf::AllocatedList::Size() const {
    int size = heapCount;
    for (const OSBufPool& pool : buffer_pool) size += pool.made - pool.free.load();
    return size;
}
