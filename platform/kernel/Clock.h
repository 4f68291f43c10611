// Time: a wrapping millisecond clock, sleeping on its grid, and local calendar time.
#pragma once

#include "platform/kernel/Types.h"

struct _SYSTEMTIME {
    UWORD wYear;
    UWORD wMonth;  // 1 to 12
    UWORD wDayOfWeek;
    UWORD wDay;
    UWORD wHour;
    UWORD wMinute;
    UWORD wSecond;
    UWORD wMilliseconds;
};

// Milliseconds of a monotonic clock, wrapping at 32 bits. Any thread.
ULONG os_clock();

// Microseconds of the same clock, 64 bits.
std::uint64_t os_clock_us();

constexpr std::uint64_t MicrosecondsPerMs = 1000;

// Non-zero once `ms` milliseconds have passed since the os_clock value `since`.
int os_expired(ULONG since, ULONG ms);

// Sleeps until os_clock() has advanced by `ms`: every sleep ends on a full millisecond of the clock, so that
// threads on the same grid share a timer interrupt. After os_cleanup has begun it never returns (see
// Startup.h).
void Sleep(ULONG ms);

// Lets another thread run.
void os_schedule();

// Local time of day.
void GetLocalTime(_SYSTEMTIME* out);
