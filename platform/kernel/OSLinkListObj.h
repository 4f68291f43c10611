// Base of objects that carry their own list links (OSLinkList): no pool is needed, but an object stands in
// one such list at a time.
#pragma once

class OSLinkListObj {
 public:
    OSLinkListObj() = default;
    OSLinkListObj(const OSLinkListObj&) = delete;
    OSLinkListObj& operator=(const OSLinkListObj&) = delete;
    virtual ~OSLinkListObj() = default;

    // Drops what the object holds on to for others; nothing here.
    virtual void Flush() {}
    // Ends the object.
    virtual void Free() { delete this; }

    OSLinkListObj* prev = nullptr;
    OSLinkListObj* next = nullptr;
};
