// Base of objects that stand in kernel lists through a link of the link pool (OSIndirectList).
#pragma once

class OSListObj {
 public:
    OSListObj() = default;
    OSListObj(const OSListObj&) = default;
    OSListObj& operator=(const OSListObj&) = default;
    virtual ~OSListObj() = default;

    // Whether this is the entry that `key` names; what a key is, the derived class says.
    virtual bool IsKey(char* /*key*/) { return false; }
};
