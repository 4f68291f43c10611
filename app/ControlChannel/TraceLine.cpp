#include "app/ControlChannel/TraceLine.h"

#include <cstdio>

#include "platform/kernel/OSConsole.h"

void TraceLine(const char* prefix, const char* format, va_list args) {
    char line[1024];
    const int begin = snprintf(line, sizeof line, "%s", prefix);
    vsnprintf(line + begin, sizeof line - begin, format, args);
    Console->Print("%s", line);
}
