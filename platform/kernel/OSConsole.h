// Where the process reports: one object, reached through the global Console.
#pragma once

#include <cstdarg>

class OSConsole {
 public:
    enum WarningType { WARNING_SYSTEM = 0, WARNING_RECORDING = 1 };

    OSConsole() = default;
    OSConsole(const OSConsole&) = delete;
    OSConsole& operator=(const OSConsole&) = delete;
    virtual ~OSConsole() = default;

    // One report. Any thread.
    virtual void vPrint(const char* str, va_list vargs) = 0;
    // The same from arguments: formats through vPrint.
    [[gnu::format(printf, 2, 3)]] virtual void Print(const char* format, ...);
    [[gnu::format(printf, 2, 3)]] virtual void Warning(const char* format, ...);
    [[gnu::format(printf, 3, 4)]] virtual void Warning(WarningType type, const char* format, ...);
    virtual void Warning(WarningType type, const char* format, va_list vargs);
    // Ends the process abnormally.
    [[gnu::format(printf, 2, 3)]] virtual void Fatal(const char* format, ...);
    [[gnu::format(printf, 2, 3)]] virtual void Notify(const char* format, ...);
    virtual void SetOutput(void* output);
    // No input: -1, and null.
    virtual int Getc();
    virtual char* Gets(char* text, int size, char** end);
};

// Set by start-up before anything else of the system runs; null before.
extern OSConsole* Console;
