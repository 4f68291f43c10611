// The list over pooled links.
#include "platform/kernel/OSIndirectList.h"

#include <utility>

OSIndirectListBase::~OSIndirectListBase() {
    Clear();
    while (spare != nullptr) OSLink::Release(std::exchange(spare, spare->next));
}

void OSIndirectListBase::Clear() {
    while (TakeFirst() != nullptr) {
    }
}

OSLink* OSIndirectListBase::NewLink(void* entry) {
    if (spare == nullptr) return OSLink::Alloc(entry);
    --spares;
    OSLink* link = std::exchange(spare, spare->next);
    link->object = entry;
    link->next = nullptr;
    return link;
}

void OSIndirectListBase::AppendEntry(void* entry) {
    OSLink* link = NewLink(entry);
    link->prev = tail;
    (tail == nullptr ? head : tail->next) = link;
    tail = link;
    size.store(Size() + 1, std::memory_order_relaxed);
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
    size.store(Size() - 1, std::memory_order_relaxed);
    if (spares >= ownLinks) {
        OSLink::Release(link);
        return;
    }
    ++spares;
    link->next = std::exchange(spare, link);
}
