// A one-shot timer that calls back on the thread that constructed it.
#pragma once

#include "platform/kernel/OSTrigger.h"

class OSTimerTrigger : public OSTrigger {
 public:
    // Both arguments are 0.
    OSTimerTrigger(int reserved1, int reserved2);
    ~OSTimerTrigger() override;

    // Arms one expiry `ms` milliseconds from now, in place of an earlier one. Any thread.
    void SetTimer(ULONG ms);
    void Cancel() override;
    bool IsArmed() const;

 private:
    friend class kernel::TriggerLoop;
    std::uint64_t deadline = 0;  // os_clock_us scale
    int heapIndex = -1;          // place in the loop's heap, -1 when idle; guarded by the loop's lock
};
