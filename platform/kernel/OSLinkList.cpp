// The list over links that the objects carry.
#include "platform/kernel/OSLinkList.h"

void OSLinkListBase::AppendObject(OSLinkListObj* object) {
    object->prev = tail;
    object->next = nullptr;
    (tail == nullptr ? head : tail->next) = object;
    tail = object;
    size.store(Size() + 1, std::memory_order_relaxed);
}

void OSLinkListBase::RemoveObject(OSLinkListObj* object) {
    (object->prev == nullptr ? head : object->prev->next) = object->next;
    (object->next == nullptr ? tail : object->next->prev) = object->prev;
    object->prev = nullptr;
    object->next = nullptr;
    size.store(Size() - 1, std::memory_order_relaxed);
}
