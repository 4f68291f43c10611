// The process's console: every report becomes one time-stamped line on standard output, written at once.
//
// Any thread prints. A line is composed and written under one lock, from one buffer on the stack, and
// allocates nothing; the lock may be taken while OS_CRITICAL_BUFFERS is held, never the other way round.
#pragma once

#include <cstdarg>

#include "platform/kernel/CriticalSection.h"
#include "platform/kernel/OSConsole.h"

class MainConsole : public OSConsole {
 public:
    MainConsole();
    ~MainConsole() override;

    // A message without a line feed at its end gets one; a line of more than 1023 bytes is cut to that, line
    // feed included.
    void vPrint(const char* str, va_list vargs) override;

    using OSConsole::Warning;
    // Three lines: WARNING:, the message, and one with the time stamp alone.
    [[gnu::format(printf, 2, 3)]] void Warning(const char* format, ...) override;
    // The same with FATAL:, then ends the process with a core file, where the system allows one.
    [[noreturn, gnu::format(printf, 2, 3)]] void Fatal(const char* format, ...) override;

    // Reopens the log file if SIGHUP has asked for it; every line looks for itself before it is written.
    void ReopenIfAsked();

 private:
    CRITICAL_SECTION cs;
};
