#include "app/StartupPrint.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

void StartupPrint(const char* format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
    const std::size_t length = std::strlen(format);
    if (length == 0 || format[length - 1] != '\n') putchar('\n');
    fflush(stdout);
}
