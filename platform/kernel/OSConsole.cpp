// What every console has in common.
#include "platform/kernel/OSConsole.h"

#include <cstdlib>

OSConsole* Console = nullptr;

void OSConsole::Print(const char* format, ...) {
    va_list args;
    va_start(args, format);
    vPrint(format, args);
    va_end(args);
}

void OSConsole::Warning(const char* format, ...) {
    va_list args;
    va_start(args, format);
    vPrint(format, args);
    va_end(args);
}

void OSConsole::Warning(WarningType type, const char* format, ...) {
    va_list args;
    va_start(args, format);
    Warning(type, format, args);
    va_end(args);
}

void OSConsole::Warning(WarningType /*type*/, const char* format, va_list vargs) {
    vPrint(format, vargs);
}

void OSConsole::Fatal(const char* format, ...) {
    va_list args;
    va_start(args, format);
    vPrint(format, args);
    va_end(args);
    std::abort();
}

void OSConsole::Notify(const char* format, ...) {
    va_list args;
    va_start(args, format);
    vPrint(format, args);
    va_end(args);
}

void OSConsole::SetOutput(void* /*output*/) {}

int OSConsole::Getc() {
    return -1;
}

char* OSConsole::Gets(char* /*text*/, int /*size*/, char** /*end*/) {
    return nullptr;
}
