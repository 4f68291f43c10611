// The operating system with device files that a test has put elsewhere, and with faults.
#pragma once

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <map>
#include <string>
#include <vector>

#include "platform/kernel/OperatingSystem.h"

// In force while it lives. A fault is an errno, 0 for none.
class DeviceTwin : public kernel::OperatingSystem {
 public:
    DeviceTwin() { kernel::ReplaceSystem(this); }
    ~DeviceTwin() override { kernel::ReplaceSystem(nullptr); }
    DeviceTwin(const DeviceTwin&) = delete;
    DeviceTwin& operator=(const DeviceTwin&) = delete;

    int OpenDevice(const char* path, int flags) override {
        opened.emplace_back(path);
        const auto found = elsewhere.find(path);
        const int fd =
            OperatingSystem::OpenDevice(found != elsewhere.end() ? found->second.c_str() : path, flags);
        if (fd >= 0) open++;
        return fd;
    }
    int SetCloseOnExec(int fd) override {
        return closeOnExecFault != 0 ? Fail(closeOnExecFault) : OperatingSystem::SetCloseOnExec(fd);
    }
    int CloseDescriptor(int fd) override {
        open--;
        return OperatingSystem::CloseDescriptor(fd);
    }
    ssize_t ReadDevice(int fd, std::span<UBYTE> data) override {
        reads++;
        if (lingersBeforeRead) usleep(1000);  // or until a signal, which then does not meet the read
        const int fault = readFault;
        return fault != 0 ? Fail(fault) : OperatingSystem::ReadDevice(fd, data);
    }
    ssize_t WriteDevice(int fd, std::span<const UBYTE> data) override {
        writes++;
        return writeFault != 0 ? Fail(writeFault) : OperatingSystem::WriteDevice(fd, data);
    }
    int FileStatus(const char* path, struct stat& status) override {
        return statusFault != 0 ? Fail(statusFault) : OperatingSystem::FileStatus(path, status);
    }
    int MakeDeviceNode(const char* path, mode_t permissions, unsigned major, unsigned minor) override {
        char node[100];
        snprintf(node, sizeof node, "%s %o %u:%u", path, permissions, major, minor);
        made.emplace_back(node);
        return Fail(EPERM);
    }

    std::map<std::string, std::string> elsewhere;
    std::atomic<int> closeOnExecFault{0};
    std::atomic<int> readFault{0};
    std::atomic<int> writeFault{0};
    std::atomic<int> statusFault{0};
    std::atomic<bool> lingersBeforeRead{false};

    std::atomic<int> open{0};   // device files open now
    std::atomic<int> reads{0};  // begun; what the one before has brought has been dealt with
    std::atomic<int> writes{0};
    std::vector<std::string> opened;
    std::vector<std::string> made;

 private:
    static int Fail(int error) {
        errno = error;
        return -1;
    }
};
