// An open device or hardware file. It is closed when its last holder lets go: whoever is in a read or a write
// holds on to it, so that the descriptor's number is never another file's meanwhile.
#pragma once

#include <sys/types.h>

#include <memory>
#include <span>

#include "platform/kernel/Types.h"

namespace kernel {

// Results follow the system calls: -1 with errno set on failure. Any thread.
class DeviceFile {
 public:
    // Null, with errno set, when the file does not open. `flags` are open's.
    static std::shared_ptr<const DeviceFile> Open(const char* path, int flags);

    explicit DeviceFile(int fd) : fd(fd) {}
    ~DeviceFile();
    DeviceFile(const DeviceFile&) = delete;
    DeviceFile& operator=(const DeviceFile&) = delete;

    int SetCloseOnExec() const;
    ssize_t Read(std::span<UBYTE> data) const;
    ssize_t Write(std::span<const UBYTE> data) const;

 private:
    const int fd;
};

}  // namespace kernel
