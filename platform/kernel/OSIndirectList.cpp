// The list over pooled links.
#include "platform/kernel/OSIndirectList.h"

void OSIndirectListBase::Clear() {
    while (TakeFirst() != nullptr) {
    }
}

void OSIndirectListBase::AppendEntry(void* entry) {
    OSLink* link = OSLink::Alloc(entry);
    link->prev = tail;
    (tail == nullptr ? head : tail->next) = link;
    tail = link;
    size.fetch_add(1, std::memory_order_relaxed);
}

bool OSIndirectListBase::RemoveEntry(const void* entry) {
    for (OSLink* link = head; link != nullptr; link = link->next) {
        if (link->object != entry) continue;
        Unlink(link);
        return true;
    }
    return false;
}

void* OSIndirectListBase::TakeFirst() {
    if (head == nullptr) return nullptr;
    void* entry = head->object;
    Unlink(head);
    return entry;
}

void OSIndirectListBase::Unlink(OSLink* link) {
    (link->prev == nullptr ? head : link->prev->next) = link->next;
    (link->next == nullptr ? tail : link->next->prev) = link->prev;
    size.fetch_sub(1, std::memory_order_relaxed);
    OSLink::Release(link);
}
