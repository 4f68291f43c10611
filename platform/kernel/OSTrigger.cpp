// Triggers and the thread's loop behind them.
#include "platform/kernel/OSTrigger.h"

#include "platform/kernel/TriggerLoop.h"

using kernel::TriggerLoop;

OSTrigger::OSTrigger() : loop(TriggerLoop::Current()) {}

OSTrigger::~OSTrigger() {
    if (loop != nullptr) loop->Forget(*this);
    if (callback != nullptr) OSCallback::Release(callback);
}

void OSTrigger::TLSInitialise() {
    TriggerLoop::MakeCurrent();
}

void OSTrigger::TLSUninitialise() {
    TriggerLoop::EndCurrent();
}

HANDLE OSTrigger::TLSGetEvent() {
    return TriggerLoop::Current().get();
}

void OSTrigger::TLSPoll() {
    const std::shared_ptr<TriggerLoop> loop = TriggerLoop::Current();
    if (loop != nullptr) loop->Poll();
}

void OSTrigger::SetCallback(OSCallback::Function function, OSObj* object, void* param, unsigned long value) {
    if (callback != nullptr) OSCallback::Release(callback);
    callback = OSCallback::Alloc(function, object, param, value);
}

void OSTrigger::Cancel() {
    if (loop != nullptr) loop->Forget(*this);
}

void OSTrigger::Fire() {
    if (loop != nullptr) loop->MarkReady(*this);
}

void OSTrigger::Run() const {
    if (callback != nullptr) callback->Run();
}
