// A queue of link-list objects that fires a trigger when it gets an entry. The queue has no lock: producer
// and consumer guard it with one of theirs.
#pragma once

#include "platform/kernel/OSLinkList.h"

class OSQTrigger;

class OSQueue {
 public:
    // `reserved` is 0.
    explicit OSQueue(int reserved);
    OSQueue(const OSQueue&) = delete;
    OSQueue& operator=(const OSQueue&) = delete;

    void Append(OSLinkListObj* object);
    // Takes the first object out, null when empty.
    OSLinkListObj* RemoveFirst() { return list.RemoveFirst(); }
    int Size() const { return list.Size(); }
    bool IsEmpty() const { return list.IsEmpty(); }

 private:
    friend class OSQTrigger;
    OSLinkList<OSLinkListObj> list;
    OSQTrigger* trigger = nullptr;
};
