// A character device as a stream of kernel buffers: a thread of its own reads the device, and what it has
// read is handed to Receive on the thread that made the task.
//
// Made, started and destroyed on a thread with a trigger loop, in which Receive runs. Between the two threads
// stands a queue of at most 50 buffers; what is read beyond that is lost. Send and Stop are for any thread. A
// write that blocks in the driver holds up everything that needs the task's lock.
#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>
#include <mutex>

#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/DeviceFile.h"
#include "platform/kernel/Event.h"
#include "platform/kernel/OSBuf.h"
#include "platform/kernel/OSLinkListObj.h"
#include "platform/kernel/OSQTrigger.h"
#include "platform/kernel/OSQueue.h"
#include "platform/kernel/OSTimerTrigger.h"

class DeviceTask : public OSLinkListObj {
 public:
    // `bin`: Receive gets whole read buffers; otherwise one line each, its line feed included. What a read
    // leaves behind its last line feed comes as it is: lines are not put together across reads.
    explicit DeviceTask(bool bin);
    // Stops the reader if nobody has; buffers that wait are freed.
    ~DeviceTask() override;

    // Opens the device `s` (at most 63 characters) and starts the reader, once in the task's life. 0, or -1
    // when one of the two failed, which has been reported: the task is then without device.
    virtual int Start(const char* s);
    // Closes the device and ends the reader, however the device keeps it; returns when it has ended.
    virtual void Stop();
    // Writes to the device; nothing when it is closed. A failure is reported, a short write left at that. The
    // first form takes the buffer over.
    virtual void Send(OSBuf* out);
    virtual void Send(UBYTE* dp, int len);
    // What the device delivered. Takes the buffer over; the base frees it.
    virtual void Receive(OSBuf* in);

 private:
    static void* ThreadMain(void* task);
    static void _QCallback(OSObj* task, void* param, unsigned long value);

    int StartReader();
    std::shared_ptr<const kernel::DeviceFile> Device() const;
    bool CloseDevice();
    void Main();
    bool ReadOnce(const kernel::DeviceFile& device);
    void Queue();
    void WarnOfQueue() const;
    void QCallback();
    OSBuf* TakeFirst();
    void DeliverLines(OSBuf* read);

    char path[64] = "";
    const bool binary;
    mutable std::mutex device_lock;                // guards fd alone, for an instant
    std::shared_ptr<const kernel::DeviceFile> fd;  // null when closed
    OSQueue q{0};                                  // read and not yet delivered
    OSQTrigger qtrigger{q, 1, 0, 0};
    OSTimerTrigger backuptrigger{0, 0};  // serves a queue that has grown long, should qtrigger not
    std::atomic<bool> done{false};
    OSBuf* buf = nullptr;  // the reader's, into which it reads next
    pthread_t thread = 0;  // 0 unless the reader is to be joined
    HANDLE ended;          // signalled by the reader at its end
    CRITICAL_SECTION cs;   // guards q; writes to the device hold it too
};

// Whether a warning of a long queue is due: at most one a second for all device tasks together.
bool pace();

// Does nothing; a SIGABRT that it handles ends the read in which it finds a thread.
void abort_handler(int signal);
