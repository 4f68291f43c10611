// A list of objects that it does not own, each held by a link of the link pool, so that one object may stand
// in several lists. No lock of its own; only Size may be read from another thread.
#pragma once

#include <atomic>

#include "platform/kernel/OSLink.h"

// The part that does not depend on the entries' type.
class OSIndirectListBase {
 public:
    // The list keeps up to `ownLinks` links that its entries have left, so that a busy one, short of growing,
    // has no need of the pool.
    explicit OSIndirectListBase(int ownLinks) : ownLinks(ownLinks) {}
    OSIndirectListBase(const OSIndirectListBase&) = delete;
    OSIndirectListBase& operator=(const OSIndirectListBase&) = delete;
    ~OSIndirectListBase();

    int Size() const { return size.load(std::memory_order_relaxed); }
    bool IsEmpty() const { return Size() == 0; }
    // Empties the list; the entries stay what they are.
    void Clear();

 protected:
    void AppendEntry(void* entry);
    bool RemoveEntry(const void* entry);
    void* TakeFirst();
    OSLink* First() const { return head; }

 private:
    void Unlink(OSLink* link);
    OSLink* NewLink(void* entry);

    OSLink* head = nullptr;
    OSLink* tail = nullptr;
    OSLink* spare = nullptr;  // links without entries
    int spares = 0;
    const int ownLinks;
    std::atomic<int> size{0};
};

template <class T>
class OSIndirectList : public OSIndirectListBase {
 public:
    class Iterator {
     public:
        explicit Iterator(OSLink* at) : link(at) {}
        T* operator*() const { return static_cast<T*>(link->object); }
        Iterator& operator++() {
            link = link->next;
            return *this;
        }
        bool operator!=(const Iterator& other) const { return link != other.link; }

     private:
        OSLink* link;
    };

    explicit OSIndirectList(int ownLinks = 0) : OSIndirectListBase(ownLinks) {}

    void Append(T* entry) { AppendEntry(entry); }
    // Takes the first link to `entry` out; false when there is none.
    bool Remove(T* entry) { return RemoveEntry(entry); }
    // Takes the first entry out and returns it, null when empty.
    T* RemoveFirst() { return static_cast<T*>(TakeFirst()); }
    // The first entry, null when empty.
    T* Head() const { return First() == nullptr ? nullptr : static_cast<T*>(First()->object); }

    // Walks from the first entry; the list must not change meanwhile.
    Iterator begin() const { return Iterator(First()); }
    Iterator end() const { return Iterator(nullptr); }
};
