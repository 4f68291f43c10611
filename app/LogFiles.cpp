#include "app/LogFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <span>

#include "app/Globals.h"
#include "app/StartupPrint.h"
#include "platform/kernel/Clock.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

constexpr const char* RingDevice = "/dev/emlog4";

UString KeptLogName() {
    _SYSTEMTIME now{};
    GetLocalTime(&now);
    UString name;
    name.Format("%s/logs/Compressor_%02u%02u.log", GetRootPath(), now.wHour, now.wMinute);
    return name;
}

UString LogName() {
    return GetRootPath() + UString("/logs/Compressor.log");
}

int OpenForWriting(const char* path, int flags) {
    return kernel::System().OpenDevice(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | flags);
}

// The stream's descriptor is replaced in one step, so that no other thread ever finds it closed, and stays as
// it is when `path` does not open.
bool Redirect(FILE* stream, const char* path) {
    const int fd = OpenForWriting(path, O_APPEND);
    if (fd < 0) return false;
    fflush(stream);
    const bool redirected = dup2(fd, fileno(stream)) >= 0;
    kernel::System().CloseDescriptor(fd);
    return redirected;
}

bool WriteAll(int file, std::span<const UBYTE> piece) {
    while (!piece.empty()) {
        const ssize_t written = kernel::System().WriteDevice(file, piece);
        if (written < 0) return false;
        piece = piece.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

void Copy(int device, int file, const char* name) {
    std::array<UBYTE, 4096> piece{};
    for (;;) {
        const ssize_t count = kernel::System().ReadDevice(device, piece);
        if (count < 0 && errno != EAGAIN) StartupPrint("Read error %d for file /dev/emlog4\n", errno);
        if (count <= 0) return;
        if (!WriteAll(file, std::span(piece).first(static_cast<std::size_t>(count)))) {
            StartupPrint("Write error %d for file %s\n", errno, name);
            return;
        }
    }
}

void CopyToKeptLog(int device) {
    const UString name = KeptLogName();
    const int file = OpenForWriting(name, 0);
    if (file < 0) {
        StartupPrint("Failed to open file %s\n", static_cast<char*>(name));
        return;
    }
    Copy(device, file, name);
    kernel::System().CloseDescriptor(file);
}

void KeepRingLog() {
    const int device = kernel::System().OpenDevice(RingDevice, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (device < 0) {
        StartupPrint("Failed to open file /dev/emlog4");
        return;
    }
    CopyToKeptLog(device);
    kernel::System().CloseDescriptor(device);
}

}  // namespace

bool StartRingLog() {
    KeepRingLog();
    if (!Redirect(stdout, RingDevice)) {
        StartupPrint("Failed to open log file \"/dev/emlog4\"\n for stdout");
        return false;
    }
    if (!Redirect(stderr, RingDevice)) {
        StartupPrint("Failed to open log file \"/dev/emlog4\"\n for stderr");
        return false;
    }
    return true;
}

bool StartFileLog() {
    rename(LogName(), KeptLogName());  // fails where there is no old log to keep
    logcp = true;
    return ReopenFileLog();
}

bool ReopenFileLog() {
    if (Redirect(stdout, LogName())) return true;
    StartupPrint("Failed to open log file \"Compressor.log\"");
    return false;
}
