#include "app/ResourceReport.h"

#include <dlfcn.h>

#include <algorithm>

#include "app/ControlChannel/MediaPair.h"
#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/Clock.h"
#include "platform/kernel/OSCallback.h"
#include "platform/kernel/OSConsole.h"

namespace {

constexpr ULONG LeakAgeMs = 30000;

// The memory figures that lead the line; nothing measures them.
constexpr unsigned long usedMem = 0;
constexpr unsigned long actualMem = 0;

int FreeLinks(CRITICAL_SECTION& guard, const OSLink::Pool& pool) {
    const CriticalSectionLock lock(guard);
    return OSLink::ListLength(pool);
}

std::array<int, OSBuf::PoolCount> FreeBuffers() {
    const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    std::array<int, OSBuf::PoolCount> free{};
    for (std::size_t i = 0; i < free.size(); i++) free[i] = OSBuf::buffer_pool[i].free;
    return free;
}

// Null for an address without a symbol.
const char* SymbolName(const void* address) {
    Dl_info info{};
    if (address == nullptr || dladdr(address, &info) == 0) return nullptr;
    return info.dli_sname;
}

}  // namespace

void ResourceReport::Pass() {
    const Counts now = Count();
    if (now == last) return;
    last = now;
    PrintResources(now);
    PrintLeaks();
}

ResourceReport::Counts ResourceReport::Count() {
    Counts now;
    now.mem = usedMem;
    now.links = FreeLinks(OS_CRITICAL_LINK, OSLink::link_pool);
    now.bufs = FreeBuffers();
    now.callbacks = FreeLinks(OS_CRITICAL_CALLBACKS, OSCallback::callback_pool);
    const auto* asyncSockets = AsyncSocket::sockets.load();
    now.numasockets = asyncSockets == nullptr ? 0 : asyncSockets->Size();
    now.numsockets = Socket::socket_list.Size();
    return now;
}

void ResourceReport::PrintResources(const Counts& counts) {
    std::array<int, OSBuf::PoolCount> lowest{};
    std::copy(std::begin(OSBuf::min_count), std::end(OSBuf::min_count), lowest.begin());
    Console->Print(
        "Resources: mem=%lu (%lu) L=%04d CB=%04d B=%02d(%02d),%02d(%02d),%02d(%02d),%02d(%02d) "
        "AsyncSockets=%d "
        "Sockets=%d ActiveChans=%d\n",
        counts.mem, actualMem, counts.links, counts.callbacks, counts.bufs[0], lowest[0], counts.bufs[1],
        lowest[1], counts.bufs[2], lowest[2], counts.bufs[3], lowest[3], counts.numasockets,
        counts.numsockets, MediaPair::pairs.Size());
}

void ResourceReport::PrintLeaks() {
    const CriticalSectionLock lock(OS_CRITICAL_BUFFERS);
    for (const OSBuf* buf : OSBuf::allocated_list.OldestFirst()) {
        // Those behind it are younger.
        if (os_expired(buf->stamp, LeakAgeMs) == 0) return;
        PrintLeak(*buf);
    }
}

void ResourceReport::PrintLeak(const OSBuf& buf) {
    const ULONG age = (os_clock() - buf.stamp) / 1000;
    const auto* const address = static_cast<const void*>(&buf);
    const void* allocator = buf.allocator;
    const char* name = SymbolName(allocator);
    if (name == nullptr) {
        Console->Print("BufLeak: buf %p, size %d, len %d, age %us, ptr %p", address, buf.size, buf.len, age,
                       allocator);
    } else {
        Console->Print("BufLeak: buf %p, size %d, len %d, age %us, ptr %p (%s)", address, buf.size, buf.len,
                       age, allocator, name);
    }
}
