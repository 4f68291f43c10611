// A device task's reader thread.
#include <cerrno>
#include <csignal>

#include "common/devicetask.h"
#include "platform/kernel/Clock.h"
#include "platform/kernel/OSConsole.h"

namespace {

constexpr int ReadBytes = 1600;
constexpr int MostQueued = 50;
constexpr int WarnAbove = 10;  // buffers in the queue
constexpr ULONG BackupMs = 1;
constexpr ULONG PaceMs = 1000;
constexpr ULONG EndOfFileRestMs = 10;

OSBuf* NewReadBuffer() {
    OSBuf* fresh = OSBuf::Alloc(ReadBytes);
    fresh->PushDown(ReadBytes);
    return fresh;
}

// Without SA_RESTART, so that the read fails with EINTR.
void LetAbortInterrupt() {
    struct sigaction action {};
    action.sa_handler = abort_handler;
    sigemptyset(&action.sa_mask);
    sigaction(SIGABRT, &action, nullptr);
    sigset_t abort;
    sigemptyset(&abort);
    sigaddset(&abort, SIGABRT);
    pthread_sigmask(SIG_UNBLOCK, &abort, nullptr);
}

}  // namespace

bool pace() {
    static std::atomic<ULONG> lastt{os_clock() - PaceMs};
    if (os_expired(lastt, PaceMs) == 0) return false;
    lastt = os_clock();
    return true;
}

void abort_handler(int /*signal*/) {}

void* DeviceTask::ThreadMain(void* task) {
    static_cast<DeviceTask*>(task)->Main();
    return nullptr;
}

void DeviceTask::Main() {
    LetAbortInterrupt();
    std::shared_ptr<const kernel::DeviceFile> device = Device();
    buf = NewReadBuffer();
    while (!done && ReadOnce(*device)) {
    }
    buf->Free();
    buf = nullptr;
    device.reset();
    Console->Print("DeviceTask::Main %s - thread exiting", path);
    SetEvent(ended);
}

// False when there is nothing more to read for.
bool DeviceTask::ReadOnce(const kernel::DeviceFile& device) {
    const ssize_t count = device.Read(buf->Data());
    if (count < 0) {
        if (errno != EINTR) Console->Print("DeviceTask::Main %s - read error %d", path, errno);
        return false;
    }
    if (count == 0) {
        Console->Print("DeviceTask::Main %s - end of file", path);
        Sleep(EndOfFileRestMs);  // a device that has ended for good must not take the processor with it
        return true;
    }
    buf->len = static_cast<UWORD>(count);
    if (done) return false;
    Queue();
    return true;
}

void DeviceTask::Queue() {
    const CriticalSectionLock lock(cs);
    if (q.Size() >= MostQueued) {
        buf->Free();
        WarnOfQueue();
    } else {
        q.Append(buf);
        if (q.Size() > WarnAbove) {
            WarnOfQueue();
            backuptrigger.SetTimer(BackupMs);
        }
    }
    buf = NewReadBuffer();
}

void DeviceTask::WarnOfQueue() const {
    if (!pace()) return;
    Console->Print("*************** DeviceTask::Main %s - q.Size = %u ****************", path,
                   static_cast<unsigned>(q.Size()));
}
