// A stack of free buffers without a lock.
#include "platform/kernel/OSBufPool.h"

#include <new>

#include "platform/kernel/OSBuf.h"

namespace {

constexpr std::uint64_t OneChange = std::uint64_t{1} << 32U;
constexpr std::uint64_t FirstMask = OneChange - 1;

// The head that follows `old`, with the buffer number `first` less one in front.
std::uint64_t NextHead(std::uint64_t old, std::uint32_t first) {
    return ((old + OneChange) & ~FirstMask) | first;
}

void Lower(std::atomic<int>& lowest, int value) {
    int seen = lowest.load(std::memory_order_relaxed);
    while (value < seen && !lowest.compare_exchange_weak(seen, value, std::memory_order_relaxed)) {
    }
}

}  // namespace

void OSBufPool::Open(int index, UBYTE* memory, std::size_t stride, int room) {
    Close();
    number = index;
    base = memory;
    step = stride;
    size = room;
}

UBYTE* OSBufPool::Add(OSBuf* buf) {
    buf->slot = made++;
    Push(buf);
    return base + static_cast<std::size_t>(made) * step;
}

void OSBufPool::Close() {
    head = 0;
    free = 0;
    made = 0;
    size = 0;
}

OSBuf* OSBufPool::At(int slot) const {
    return std::launder(reinterpret_cast<OSBuf*>(base + static_cast<std::size_t>(slot) * step));
}

OSBuf* OSBufPool::Pop() {
    std::uint64_t top = head.load(std::memory_order_acquire);
    OSBuf* buf = nullptr;
    std::uint64_t next = 0;
    do {
        const auto first = static_cast<std::uint32_t>(top & FirstMask);
        if (first == 0) return nullptr;
        buf = At(static_cast<int>(first) - 1);
        // Stale when another thread was faster: the count of changes then refuses the exchange.
        next = NextHead(top, buf->nextFree.load(std::memory_order_relaxed));
    } while (!head.compare_exchange_weak(top, next, std::memory_order_acquire));
    Lower(OSBuf::min_count[number], free.fetch_sub(1, std::memory_order_relaxed) - 1);
    return buf;
}

void OSBufPool::Push(OSBuf* buf) {
    free.fetch_add(1, std::memory_order_relaxed);
    std::uint64_t top = head.load(std::memory_order_relaxed);
    std::uint64_t next = 0;
    do {
        buf->nextFree.store(static_cast<std::uint32_t>(top & FirstMask), std::memory_order_relaxed);
        next = NextHead(top, static_cast<std::uint32_t>(buf->slot) + 1);
    } while (!head.compare_exchange_weak(top, next, std::memory_order_release, std::memory_order_relaxed));
}
