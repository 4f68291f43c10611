// The trace lines of the control channel and the media channels.
#pragma once

#include <cstdarg>

// Prints `prefix` and the formatted text as one console line, cut to 1023 bytes. Any thread.
[[gnu::format(printf, 2, 0)]] void TraceLine(const char* prefix, const char* format, va_list args);
