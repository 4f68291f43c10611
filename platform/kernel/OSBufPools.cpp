// The buffer pools.
#include "platform/kernel/OSBufPools.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t CacheLine = 64;

int tailSpace = 32;

std::size_t RoundUp(std::size_t bytes) {
    return (bytes + CacheLine - 1) / CacheLine * CacheLine;
}

std::size_t SlotBytes(int size) {
    return RoundUp(sizeof(OSBuf) + static_cast<std::size_t>(size + tailSpace));
}

}  // namespace

OSBuf* OSBufPools::Place(void* memory, int size, int pool) {
    auto* buf = new (memory) OSBuf;
    buf->store = static_cast<UBYTE*>(memory) + sizeof(OSBuf);
    buf->capacity = size + tailSpace;
    buf->size = static_cast<UWORD>(std::min(size, 0xFFFF));
    buf->pool = pool;
    return buf;
}

void OSBufPools::Make(const KernelCfg& cfg) {
    tailSpace = cfg.buf_min_space;
    std::size_t total = 0;
    for (int i = 0; i < OSBuf::PoolCount; ++i) total += SlotBytes(cfg.buf_size[i]) * cfg.buf_qty[i];
    auto* memory = total == 0 ? nullptr : static_cast<UBYTE*>(std::aligned_alloc(CacheLine, total));
    OS_MEMORY = memory == nullptr ? static_cast<void*>(OS_EMPTYPOOL) : memory;

    CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    for (int i = 0; i < OSBuf::PoolCount; ++i) {
        OSBuf::Pool& pool = OSBuf::buffer_pool[i];
        pool = {};
        pool.size = cfg.buf_size[i];
        for (int n = 0; memory != nullptr && n < cfg.buf_qty[i]; ++n, memory += SlotBytes(pool.size)) {
            Push(Place(memory, pool.size, i));
        }
        OSBuf::min_count[i] = pool.free;
    }
}

void OSBufPools::Drop() {
    CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    while (OSBuf* buf = OSBuf::allocated_list.Head()) {
        OSBuf::allocated_list.Remove(buf);
        if (buf->pool < 0) ReleaseToHeap(buf);
    }
    for (OSBuf::Pool& pool : OSBuf::buffer_pool) pool = {};
}

OSBuf* OSBufPools::PopFrom(int bytes) {
    for (int i = 0; i < OSBuf::PoolCount; ++i) {
        OSBuf::Pool& pool = OSBuf::buffer_pool[i];
        if (pool.size < bytes || pool.first == nullptr) continue;
        OSBuf* buf = pool.first;
        pool.first = static_cast<OSBuf*>(buf->next);
        OSBuf::min_count[i] = std::min(OSBuf::min_count[i], --pool.free);
        return buf;
    }
    return nullptr;
}

void OSBufPools::Push(OSBuf* buf) {
    OSBuf::Pool& pool = OSBuf::buffer_pool[buf->pool];
    buf->next = pool.first;
    pool.first = buf;
    ++pool.free;
}

OSBuf* OSBufPools::HandOut(OSBuf* buf, int bytes, ULONG now, const void* caller) {
    buf->data = buf->store + bytes;
    buf->len = 0;
    buf->stamp = now;
    buf->allocator = caller;
    OSBuf::allocated_list.Append(buf);
    return buf;
}

OSBuf* OSBufPools::Take(int bytes, ULONG now, const void* caller) {
    const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    OSBuf* buf = PopFrom(bytes);
    return buf == nullptr ? nullptr : HandOut(buf, bytes, now, caller);
}

OSBuf* OSBufPools::MakeOnHeap(int bytes, ULONG now, const void* caller) {
    OSBuf* buf =
        Place(::operator new(sizeof(OSBuf) + static_cast<std::size_t>(bytes + tailSpace)), bytes, -1);
    const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    return HandOut(buf, bytes, now, caller);
}

void OSBufPools::Give(OSBuf* buf) {
    {
        const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
        OSBuf::allocated_list.Remove(buf);
        if (buf->pool >= 0) {
            Push(buf);
            return;
        }
    }
    ReleaseToHeap(buf);
}

void OSBufPools::ReleaseToHeap(OSBuf* buf) {
    buf->~OSBuf();
    ::operator delete(buf);
}
