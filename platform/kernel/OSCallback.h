// A callback record: whom a trigger calls, and with what. Records come from a pool.
#pragma once

#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/OSLink.h"
#include "platform/kernel/Types.h"

class OSCallback : public OSLink {
 public:
    using Function = void (*)(OSObj* object, void* param, unsigned long value);

    // From the heap when the pool is dry. Any thread.
    static OSCallback* Alloc(Function function, OSObj* object, void* param, unsigned long value);
    static void Release(OSCallback* callback);
    // Makes records until `quantity` belong to the pool. They stay until the process ends.
    static void FillPool(int quantity);

    void Run() const { function(object, param, value); }

    static OSLink::Pool callback_pool;  // free records; guarded by OS_CRITICAL_CALLBACKS

    Function function = nullptr;
    void* param = nullptr;
    unsigned long value = 0;
};

extern CRITICAL_SECTION OS_CRITICAL_CALLBACKS;
