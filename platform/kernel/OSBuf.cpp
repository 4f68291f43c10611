// Kernel buffers.
#include "platform/kernel/OSBuf.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/kernel/OSBufPools.h"
#include "platform/kernel/OSConsole.h"

CRITICAL_SECTION OS_CRITICAL_BUFFERS;
OSBufPool OSBuf::buffer_pool[PoolCount];
std::atomic<int> OSBuf::min_count[PoolCount];
const OSBuf::AllocatedList OSBuf::allocated_list;

namespace {

constexpr int DuplicateHeadroom = 50;
constexpr int PrintedBytes = 12;

[[gnu::constructor(101)]] void PrepareLock() {
    InitializeCriticalSection(&OS_CRITICAL_BUFFERS);
}

}  // namespace

OSBuf* OSBuf::Take(int bytes, const void* caller) {
    return OSBufPools::Take(std::clamp(bytes, 0, 0xFFFF), caller);
}

[[gnu::noinline]] OSBuf* OSBuf::Alloc(int bytes) {
    return Take(bytes, __builtin_return_address(0));
}

void OSBuf::Free() {
    OSBufPools::Give(this);
}

UBYTE* OSBuf::PushDown(int bytes) {
    if (bytes < 0 || bytes > Headroom()) return nullptr;
    data -= bytes;
    len = static_cast<UWORD>(len + bytes);
    return data;
}

bool OSBuf::PushData(const void* bytes, int count) {
    UBYTE* place = PushDown(count);
    if (place == nullptr) return false;
    if (count > 0) std::memcpy(place, bytes, static_cast<std::size_t>(count));
    return true;
}

void OSBuf::Strip(int bytes) {
    const int dropped = std::clamp(bytes, 0, static_cast<int>(len));
    data += dropped;
    len = static_cast<UWORD>(len - dropped);
}

int OSBuf::Tailroom() const {
    return static_cast<int>(store + capacity - (data + len));
}

UBYTE* OSBuf::Append(int bytes) {
    if (bytes < 0 || bytes > Tailroom() || len + bytes > 0xFFFF) return nullptr;
    UBYTE* place = data + len;
    len = static_cast<UWORD>(len + bytes);
    return place;
}

[[gnu::noinline]] OSBuf* OSBuf::Duplicate() const {
    OSBuf* copy = Take(len + DuplicateHeadroom, __builtin_return_address(0));
    copy->PushData(data, len);
    copy->stamp = stamp.load();
    return copy;
}

void OSBuf::Print() const {
    if (Console == nullptr) return;
    char text[3 * PrintedBytes + 1] = "";
    for (int i = 0; i < std::min<int>(len, PrintedBytes); ++i) {
        const std::size_t at = 3 * static_cast<std::size_t>(i);
        std::snprintf(text + at, sizeof text - at, " %02x", data[i]);
    }
    Console->Print("OSBuf %p: size %u, len %u, data%s%s", static_cast<const void*>(this), size, len, text,
                   len > PrintedBytes ? " ..." : "");
}
