// One-shot timers.
#include "platform/kernel/OSTimerTrigger.h"

#include "platform/kernel/Clock.h"
#include "platform/kernel/TriggerLoop.h"

OSTimerTrigger::OSTimerTrigger(int /*reserved1*/, int /*reserved2*/) {}

OSTimerTrigger::~OSTimerTrigger() {
    if (loop != nullptr) loop->Disarm(*this);
}

void OSTimerTrigger::SetTimer(ULONG ms) {
    if (loop == nullptr) return;
    OSTrigger::Cancel();
    loop->Arm(*this, os_clock_us() + ms * MicrosecondsPerMs);
}

void OSTimerTrigger::Cancel() {
    if (loop != nullptr) loop->Disarm(*this);
    OSTrigger::Cancel();
}

bool OSTimerTrigger::IsArmed() const {
    return loop != nullptr && loop->IsArmed(*this);
}
