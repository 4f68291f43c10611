// The owner's side of a device task. The reader thread's stands in DeviceReader.cpp.
#include "common/devicetask.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "platform/kernel/OSConsole.h"

namespace {

constexpr int LineRoom = 50;  // bytes of room that a line's buffer has beside the line
constexpr int SignalIntervalMs = 10;

// The sanitizers' frames are several times the size of ours.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t ReaderStack = std::size_t{2} * 1024 * 1024;
#else
constexpr std::size_t ReaderStack = std::size_t{256} * 1024;
#endif

// A thread that is made while this lives begins with SIGABRT blocked: a Stop that comes at once must not meet
// it before it has its handler.
class AbortBlock {
 public:
    AbortBlock() {
        sigset_t abort;
        sigemptyset(&abort);
        sigaddset(&abort, SIGABRT);
        pthread_sigmask(SIG_BLOCK, &abort, &before);
    }
    ~AbortBlock() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    AbortBlock(const AbortBlock&) = delete;
    AbortBlock& operator=(const AbortBlock&) = delete;

 private:
    sigset_t before{};
};

OSBuf* CopyOf(std::span<const UBYTE> line) {
    const int length = static_cast<int>(line.size());
    OSBuf* copy = OSBuf::Alloc(length + LineRoom);
    copy->PushData(line.data(), length);
    return copy;
}

}  // namespace

DeviceTask::DeviceTask(bool bin) : binary(bin), ended(CreateEvent(nullptr, true, false, nullptr)) {
    qtrigger.SetCallback(_QCallback, this, nullptr, 0);
    backuptrigger.SetCallback(_QCallback, this, nullptr, 0);
    InitializeCriticalSection(&cs);
}

DeviceTask::~DeviceTask() {
    if (!done) DeviceTask::Stop();
    {
        const CriticalSectionLock lock(cs);
        qtrigger.Cancel();
        while (OSLinkListObj* queued = q.RemoveFirst()) queued->Free();
    }
    DeleteCriticalSection(&cs);
    CloseHandle(ended);
}

int DeviceTask::Start(const char* s) {
    const std::size_t length = std::strlen(s);
    const bool fits = length < sizeof path;
    if (fits) std::memcpy(path, s, length + 1);
    errno = ENAMETOOLONG;
    std::shared_ptr<const kernel::DeviceFile> device =
        fits ? kernel::DeviceFile::Open(path, O_RDWR) : nullptr;
    if (device == nullptr) {
        Console->Print("DeviceTask::Start %s - open failed %d", s, errno);
        return -1;
    }
    if (device->SetCloseOnExec() < 0) {
        Console->Print("DeviceTask::Start %s - failed to set close-on-exec %d", path, errno);
        return -1;
    }
    fd = std::move(device);
    return StartReader();
}

int DeviceTask::StartReader() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, ReaderStack);
    int error = 0;
    {
        const AbortBlock blocked;
        error = pthread_create(&thread, &attributes, ThreadMain, this);
    }
    pthread_attr_destroy(&attributes);
    if (error == 0) return 0;
    Console->Print("DeviceTask::Start %s - pthread_create failed %d", path, error);
    thread = 0;
    CloseDevice();
    return -1;
}

std::shared_ptr<const kernel::DeviceFile> DeviceTask::Device() const {
    const std::lock_guard<std::mutex> lock(device_lock);
    return fd;
}

// Whether there was one. A reader that is in it closes it on its way out.
bool DeviceTask::CloseDevice() {
    const std::lock_guard<std::mutex> lock(device_lock);
    const bool open = fd != nullptr;
    fd.reset();
    return open;
}

void DeviceTask::Stop() {
    Console->Print("DeviceTask::Stop %s", path);
    done = true;
    if (CloseDevice()) Console->Print("DeviceTask::Stop %s - closed", path);
    Console->Print("DeviceTask::Stop %s - signal", path);
    if (thread != 0) {
        // The signal may meet the reader just before it goes into its read, which it then does not end.
        do {
            pthread_kill(thread, SIGABRT);
        } while (WaitForSingleObject(ended, SignalIntervalMs) != WAIT_OBJECT_0);
        pthread_join(thread, nullptr);
        thread = 0;
    }
    Console->Print("DeviceTask::Stop %s - stopped", path);
}

void DeviceTask::Send(OSBuf* out) {
    Send(out->data, out->len);
    out->Free();
}

void DeviceTask::Send(UBYTE* dp, int len) {
    const std::shared_ptr<const kernel::DeviceFile> device = Device();
    if (device == nullptr) return;
    const CriticalSectionLock lock(cs);
    if (device->Write({dp, static_cast<std::size_t>(std::max(len, 0))}) < 0) {
        Console->Print("DeviceTask::Send %s - write error %d", path, errno);
    }
}

void DeviceTask::Receive(OSBuf* in) {
    in->Free();
}

void DeviceTask::_QCallback(OSObj* task, void* /*param*/, unsigned long /*value*/) {
    static_cast<DeviceTask*>(task)->QCallback();
}

// One buffer a callback, so that a flooding device leaves the loop's others their turns.
void DeviceTask::QCallback() {
    OSBuf* read = TakeFirst();
    if (read != nullptr && binary) {
        Receive(read);
    } else if (read != nullptr) {
        DeliverLines(read);
    }
    const CriticalSectionLock lock(cs);
    if (!q.IsEmpty()) qtrigger.Fire();
}

OSBuf* DeviceTask::TakeFirst() {
    const CriticalSectionLock lock(cs);
    qtrigger.Clear();
    return static_cast<OSBuf*>(q.RemoveFirst());
}

void DeviceTask::DeliverLines(OSBuf* read) {
    while (read->len != 0) {
        const auto bytes = read->Data();
        const auto feed = std::find(bytes.begin(), bytes.end(), '\n');
        if (feed == bytes.end()) {
            Receive(read);
            return;
        }
        const auto line = bytes.first(static_cast<std::size_t>(feed - bytes.begin()) + 1);
        Receive(CopyOf(line));
        read->Strip(static_cast<int>(line.size()));
    }
    read->Free();
}
