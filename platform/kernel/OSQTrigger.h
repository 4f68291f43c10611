// Calls back on its thread when its queue gets an entry.
#pragma once

#include "platform/kernel/OSQueue.h"
#include "platform/kernel/OSTrigger.h"

class OSQTrigger : public OSTrigger {
 public:
    // `queue` outlives the trigger; the other arguments are 1, 0, 0.
    OSQTrigger(OSQueue& queue, int reserved1, int reserved2, int reserved3);
    ~OSQTrigger() override;

    // Takes back a firing whose callback has not run. Any thread.
    void Clear() { Cancel(); }
    // Fires again, for entries that are left. Any thread.
    using OSTrigger::Fire;

 private:
    OSQueue& queue;
};
