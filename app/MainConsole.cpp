#include "app/MainConsole.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include "app/LogFiles.h"
#include "app/Signals.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

class Line {
 public:
    void Stamp() {
        timeval now{};
        kernel::System().WallClock(now);
        tm local{};
        localtime_r(&now.tv_sec, &local);
        Added(snprintf(text, Size, "%02u/%02u/%02u %02u:%02u:%02u.%06lu ",
                       static_cast<unsigned>(local.tm_mday), static_cast<unsigned>(local.tm_mon + 1),
                       static_cast<unsigned>(local.tm_year + 1900), static_cast<unsigned>(local.tm_hour),
                       static_cast<unsigned>(local.tm_min), static_cast<unsigned>(local.tm_sec),
                       static_cast<unsigned long>(now.tv_usec)));
    }

    void Add(const char* format, va_list args) {
        Added(vsnprintf(text + length, static_cast<std::size_t>(Size - length), format, args));
    }

    // The time stamp ends with a space, so that a line feed at the end is the message's.
    void End() {
        if (text[length - 1] == '\n') return;
        length = std::min(length + 1, Size - 1);
        text[length - 1] = '\n';
    }

    std::string_view Text() const { return {text, static_cast<std::size_t>(length)}; }

 private:
    static constexpr int Size = 1024;

    // The formatter answers what it would have written; a message that it cannot format adds nothing.
    void Added(int count) { length = std::min(length + std::max(count, 0), Size - 1); }

    char text[Size];
    int length = 0;
};

// In one call where the receiver takes it whole, so that lines of other processes and of signal handlers
// stand between lines, never within.
void WriteOut(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return;
        }
    }
}

}  // namespace

MainConsole::MainConsole() {
    InitializeCriticalSection(&cs);
    // The first conversion to local time would read the time zone, and allocate, in the middle of a line.
    tzset();
}

MainConsole::~MainConsole() {
    DeleteCriticalSection(&cs);
}

void MainConsole::vPrint(const char* str, va_list vargs) {
    const CriticalSectionLock lock(cs);
    ReopenIfAsked();
    Line line;
    line.Stamp();
    line.Add(str, vargs);
    line.End();
    fflush(stdout);
    WriteOut(line.Text());
}

void MainConsole::Warning(const char* format, ...) {
    va_list args;
    va_start(args, format);
    Print("WARNING:\n");
    vPrint(format, args);
    Print("\n");
    va_end(args);
}

void MainConsole::Fatal(const char* format, ...) {
    va_list args;
    va_start(args, format);
    Print("FATAL:\n");
    vPrint(format, args);
    Print("\n");
    va_end(args);
    abort();
}

void MainConsole::ReopenIfAsked() {
    const CriticalSectionLock lock(cs);
    if (TakeReopenRequest()) ReopenFileLog();
}
