// The pool of callback records.
#include "platform/kernel/OSCallback.h"

CRITICAL_SECTION OS_CRITICAL_CALLBACKS;
OSLink::Pool OSCallback::callback_pool;

namespace {
[[gnu::constructor(101)]] void PrepareLock() {
    InitializeCriticalSection(&OS_CRITICAL_CALLBACKS);
}
}  // namespace

OSCallback* OSCallback::Alloc(Function function, OSObj* object, void* param, unsigned long value) {
    OSCallback* callback = nullptr;
    {
        CriticalSectionLock lock(OS_CRITICAL_CALLBACKS);
        callback = static_cast<OSCallback*>(callback_pool.Pop());
    }
    if (callback == nullptr) callback = new OSCallback;
    callback->function = function;
    callback->object = object;
    callback->param = param;
    callback->value = value;
    return callback;
}

void OSCallback::Release(OSCallback* callback) {
    if (!callback->pooled) {
        delete callback;
        return;
    }
    CriticalSectionLock lock(OS_CRITICAL_CALLBACKS);
    callback_pool.Push(callback);
}

void OSCallback::FillPool(int quantity) {
    CriticalSectionLock lock(OS_CRITICAL_CALLBACKS);
    const int missing = quantity - callback_pool.made;
    if (missing <= 0) return;
    auto* block = new OSCallback[missing];
    for (int i = missing - 1; i >= 0; --i) {
        block[i].pooled = true;
        callback_pool.Push(&block[i]);
    }
    callback_pool.made += missing;
}
