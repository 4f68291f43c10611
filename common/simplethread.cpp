#include "common/simplethread.h"

#include "platform/kernel/OSConsole.h"
#include "platform/kernel/Startup.h"

SimpleThread::SimpleThread(bool autoStart) {
    if (autoStart) Start();
}

SimpleThread::~SimpleThread() {
    Stop();
}

void SimpleThread::Start() {
    const int error = pthread_create(&thread, &std_thread_attr, _threadfn, this);
    if (error != 0) {
        Console->Print("SimpleThread::Start - pthread_create errno %d", error);
        return;
    }
    started = true;
}

void SimpleThread::Stop() {
    if (!started) return;
    OnStop();  // NOLINT(clang-analyzer-cplusplus.PureVirtualCall): derived classes have stopped by then
    pthread_join(thread, nullptr);
    started = false;
}

void* SimpleThread::_threadfn(void* object) {
    static_cast<SimpleThread*>(object)->Main();
    return nullptr;
}
