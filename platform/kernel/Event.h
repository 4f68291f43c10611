// Win32-style events. A HANDLE is either an event made by CreateEvent or a thread's trigger event
// (OSTrigger::TLSGetEvent); both are waited for and signalled in the same way.
#pragma once

#include "platform/kernel/Types.h"

namespace kernel {

class Waitable {
 public:
    virtual ~Waitable() = default;
    virtual void Set() = 0;
    // Waits at most `ms` (-1: for ever); true when signalled.
    virtual bool Wait(int ms) = 0;
};

}  // namespace kernel

using HANDLE = kernel::Waitable*;

constexpr int WAIT_OBJECT_0 = 0;
constexpr int WAIT_TIMEOUT = 258;

// An event, owned by the caller until CloseHandle. The first and last argument have no meaning here and are
// 0.
HANDLE CreateEvent(void* security, bool manualReset, bool initialState, const char* name);

// Signals; any thread. A null handle is ignored.
void SetEvent(HANDLE handle);

// WAIT_OBJECT_0 once signalled (an auto-reset event is then non-signalled again), WAIT_TIMEOUT after `ms`; -1
// waits for ever. A trigger event is waited for by its own thread alone.
int WaitForSingleObject(HANDLE handle, int ms);

void CloseHandle(HANDLE handle);
