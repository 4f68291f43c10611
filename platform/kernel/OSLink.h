// One link of an OSIndirectList, and the pool from which links come.
#pragma once

#include "platform/kernel/CriticalSection.h"

class OSLink {
 public:
    // A stack of free links that knows its length.
    struct Pool {
        OSLink* first = nullptr;
        int count = 0;
        int made = 0;  // links ever made for it

        void Push(OSLink* link);
        OSLink* Pop();
    };

    // A link to `entry`; from the heap when the pool is dry. Any thread.
    static OSLink* Alloc(void* entry);
    static void Release(OSLink* link);
    // Makes links until `quantity` belong to the pool. They stay until the process ends.
    static void FillPool(int quantity);

    // Number of free links; call it under the pool's lock.
    static int ListLength(const Pool& pool) { return pool.count; }

    static Pool link_pool;  // guarded by OS_CRITICAL_LINK

    void* object = nullptr;
    OSLink* prev = nullptr;
    OSLink* next = nullptr;
    bool pooled = false;
};

extern CRITICAL_SECTION OS_CRITICAL_LINK;
