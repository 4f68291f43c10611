// Events over a mutex and a condition variable.
#include "platform/kernel/Event.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

class Event final : public kernel::Waitable {
 public:
    Event(bool manual, bool initial) : manualReset(manual), signalled(initial) {}

    void Set() override {
        const std::lock_guard<std::mutex> lock(mutex);
        signalled = true;
        // Under the lock, so that a waiter that closes the event does so after this is done with it.
        changed.notify_all();
    }

    bool Wait(int ms) override {
        std::unique_lock<std::mutex> lock(mutex);
        const auto isSet = [this] { return signalled; };
        if (ms < 0) {
            changed.wait(lock, isSet);
        } else if (!changed.wait_for(lock, std::chrono::milliseconds(ms), isSet)) {
            return false;
        }
        if (!manualReset) signalled = false;
        return true;
    }

 private:
    std::mutex mutex;
    std::condition_variable changed;
    const bool manualReset;
    bool signalled;
};

}  // namespace

HANDLE CreateEvent(void* /*security*/, bool manualReset, bool initialState, const char* /*name*/) {
    return new Event(manualReset, initialState);
}

void SetEvent(HANDLE handle) {
    if (handle != nullptr) handle->Set();
}

int WaitForSingleObject(HANDLE handle, int ms) {
    return handle != nullptr && handle->Wait(ms) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

void CloseHandle(HANDLE handle) {
    delete handle;
}
