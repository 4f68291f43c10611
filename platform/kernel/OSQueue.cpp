// The queue and its trigger.
#include "platform/kernel/OSQueue.h"

#include "platform/kernel/OSQTrigger.h"

OSQueue::OSQueue(int /*reserved*/) {}

void OSQueue::Append(OSLinkListObj* object) {
    list.Append(object);
    if (trigger != nullptr) trigger->Fire();
}

OSQTrigger::OSQTrigger(OSQueue& queue, int /*reserved1*/, int /*reserved2*/, int /*reserved3*/)
    : queue(queue) {
    queue.trigger = this;
}

OSQTrigger::~OSQTrigger() {
    queue.trigger = nullptr;
}
