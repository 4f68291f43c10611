// Time and sleeping.
#include "platform/kernel/Clock.h"

#include <sched.h>

#include <ctime>

#include "platform/kernel/OperatingSystem.h"
#include "platform/kernel/Sleepers.h"

std::uint64_t os_clock_us() {
    return kernel::System().MonotonicMicroseconds();
}

ULONG os_clock() {
    return static_cast<ULONG>(os_clock_us() / MicrosecondsPerMs);
}

int os_expired(ULONG since, ULONG ms) {
    return os_clock() - since >= ms ? 1 : 0;
}

void Sleep(ULONG ms) {
    kernel::Sleepers::Enter();
    kernel::System().SleepUntil((os_clock_us() / MicrosecondsPerMs + ms) * MicrosecondsPerMs);
    kernel::Sleepers::Leave();
}

void os_schedule() {
    sched_yield();
}

void GetLocalTime(_SYSTEMTIME* out) {
    timeval now{};
    kernel::System().WallClock(now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    out->wYear = static_cast<UWORD>(local.tm_year + 1900);
    out->wMonth = static_cast<UWORD>(local.tm_mon + 1);
    out->wDayOfWeek = static_cast<UWORD>(local.tm_wday);
    out->wDay = static_cast<UWORD>(local.tm_mday);
    out->wHour = static_cast<UWORD>(local.tm_hour);
    out->wMinute = static_cast<UWORD>(local.tm_min);
    out->wSecond = static_cast<UWORD>(local.tm_sec);
    out->wMilliseconds = static_cast<UWORD>(now.tv_usec / 1000);
}
