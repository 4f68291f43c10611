// Device files through the door to the operating system.
#include "platform/kernel/DeviceFile.h"

#include "platform/kernel/OperatingSystem.h"

namespace kernel {

std::shared_ptr<const DeviceFile> DeviceFile::Open(const char* path, int flags) {
    const int fd = System().OpenDevice(path, flags);
    return fd >= 0 ? std::make_shared<const DeviceFile>(fd) : nullptr;
}

DeviceFile::~DeviceFile() {
    System().CloseDescriptor(fd);
}

int DeviceFile::SetCloseOnExec() const {
    return System().SetCloseOnExec(fd);
}

ssize_t DeviceFile::Read(std::span<UBYTE> data) const {
    return System().ReadDevice(fd, data);
}

ssize_t DeviceFile::Write(std::span<const UBYTE> data) const {
    return System().WriteDevice(fd, data);
}

}  // namespace kernel
