// Messages of start-up and of the end, when there is no console: straight to standard output, without a time
// stamp.
#pragma once

// Ends the line unless the message does, and flushes.
[[gnu::format(printf, 1, 2)]] void StartupPrint(const char* format, ...);
