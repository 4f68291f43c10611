// A list of objects that carry their own links (OSLinkListObj). It does not own them and has no lock; only
// Size may be read from another thread.
#pragma once

#include <atomic>

#include "platform/kernel/OSLinkListObj.h"

class OSLinkListBase {
 public:
    OSLinkListBase() = default;
    OSLinkListBase(const OSLinkListBase&) = delete;
    OSLinkListBase& operator=(const OSLinkListBase&) = delete;

    int Size() const { return size.load(std::memory_order_relaxed); }
    bool IsEmpty() const { return Size() == 0; }

 protected:
    ~OSLinkListBase() = default;
    void AppendObject(OSLinkListObj* object);
    // `object` must stand in this list.
    void RemoveObject(OSLinkListObj* object);
    OSLinkListObj* First() const { return head; }

 private:
    OSLinkListObj* head = nullptr;
    OSLinkListObj* tail = nullptr;
    std::atomic<int> size{0};
};

template <class T>
class OSLinkList : public OSLinkListBase {
 public:
    void Append(T* object) { AppendObject(object); }
    void Remove(T* object) { RemoveObject(object); }
    T* Head() const { return static_cast<T*>(First()); }
    // Takes the first object out and returns it, null when empty.
    T* RemoveFirst() {
        T* first = Head();
        if (first != nullptr) RemoveObject(first);
        return first;
    }
    // The object behind `object`, null at the end.
    static T* Next(const T* object) { return static_cast<T*>(object->next); }
};
