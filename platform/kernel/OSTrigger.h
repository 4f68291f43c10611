// Triggers: what wakes a thread's loop and the callback that then runs on that thread.
//
// A thread calls TLSInitialise, creates its triggers and sockets, then loops on
//     WaitForSingleObject(OSTrigger::TLSGetEvent(), -1); OSTrigger::TLSPoll();
// One epoll instance serves the thread's sockets, timers and queue triggers. A trigger belongs to the thread
// that constructed it and is destroyed there; a callback may destroy its own trigger or any other of its
// thread.
#pragma once

#include <memory>

#include "platform/kernel/Event.h"
#include "platform/kernel/OSCallback.h"

namespace kernel {
class TriggerLoop;
}

class OSTrigger {
 public:
    OSTrigger(const OSTrigger&) = delete;
    OSTrigger& operator=(const OSTrigger&) = delete;
    virtual ~OSTrigger();

    // The calling thread gets a loop. Calling it again changes nothing.
    static void TLSInitialise();
    // Ends the calling thread's loop: triggers and sockets that are left never fire again.
    static void TLSUninitialise();
    // The calling thread's trigger event, valid until TLSUninitialise; null without a loop.
    static HANDLE TLSGetEvent();
    // Runs the callbacks of the calling thread's ready triggers and sockets.
    static void TLSPoll();

    void SetCallback(OSCallback::Function function, OSObj* object, void* param, unsigned long value);

    // Disarms: a trigger that has fired and whose callback has not run yet does not run it. Any thread.
    virtual void Cancel();

    // For the loop: the trigger is due and its callback runs now.
    void Run() const;

 protected:
    OSTrigger();
    // Puts the trigger among the ready ones and wakes its thread. Any thread.
    void Fire();

    std::shared_ptr<kernel::TriggerLoop> loop;  // null when the constructing thread has none: it never fires

 private:
    friend class kernel::TriggerLoop;
    OSCallback* callback = nullptr;
    bool ready = false;  // guarded by the loop's lock
};
