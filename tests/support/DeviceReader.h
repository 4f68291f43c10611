// Readers of a device in a process.
#pragma once

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

// Whether a thread of the process waits in a read of the device.
inline bool IsReadBy(const char* device, pid_t process) {
    struct stat wanted {};
    if (stat(device, &wanted) != 0) return false;
    const std::string folder = "/proc/" + std::to_string(process);
    std::error_code ignored;
    for (const auto& thread : std::filesystem::directory_iterator(folder + "/task", ignored)) {
        std::string call;
        std::string argument;
        std::ifstream(thread.path() / "syscall") >> call >> argument;
        if (call != std::to_string(SYS_read)) continue;
        struct stat read {};
        const std::string fd = std::to_string(std::stoi(argument, nullptr, 16));
        if (stat((folder + "/fd/" + fd).c_str(), &read) == 0 && read.st_rdev == wanted.st_rdev) return true;
    }
    return false;
}

// A terminal that is hung up is a read error to who waits in a read of it, and an end of file to who comes
// later. False when nobody waits in one after a long time. Where the system does not show calls, nothing is
// waited for.
inline bool WaitUntilReadBy(const char* device, pid_t process) {
    if (!std::ifstream("/proc/self/syscall")) return true;
    for (int i = 0; i < 10000; ++i) {
        if (IsReadBy(device, process)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}
