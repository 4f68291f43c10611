// The pool of list links.
#include "platform/kernel/OSLink.h"

CRITICAL_SECTION OS_CRITICAL_LINK;
OSLink::Pool OSLink::link_pool;

namespace {
// Lists with static storage use the lock before os_startup and after os_cleanup.
[[gnu::constructor(101)]] void PrepareLock() {
    InitializeCriticalSection(&OS_CRITICAL_LINK);
}
}  // namespace

void OSLink::Pool::Push(OSLink* link) {
    link->next = first;
    first = link;
    ++count;
}

OSLink* OSLink::Pool::Pop() {
    OSLink* link = first;
    if (link == nullptr) return nullptr;
    first = link->next;
    --count;
    return link;
}

OSLink* OSLink::Alloc(void* entry) {
    OSLink* link = nullptr;
    {
        CriticalSectionLock lock(OS_CRITICAL_LINK);
        link = link_pool.Pop();
    }
    if (link == nullptr) link = new OSLink;
    link->object = entry;
    link->prev = nullptr;
    link->next = nullptr;
    return link;
}

void OSLink::Release(OSLink* link) {
    if (!link->pooled) {
        delete link;
        return;
    }
    CriticalSectionLock lock(OS_CRITICAL_LINK);
    link_pool.Push(link);
}

void OSLink::FillPool(int quantity) {
    CriticalSectionLock lock(OS_CRITICAL_LINK);
    const int missing = quantity - link_pool.made;
    if (missing <= 0) return;
    auto* block = new OSLink[missing];
    for (int i = missing - 1; i >= 0; --i) {
        block[i].pooled = true;
        link_pool.Push(&block[i]);
    }
    link_pool.made += missing;
}
