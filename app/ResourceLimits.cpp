#include "app/ResourceLimits.h"

#include <sys/resource.h>

#include <cerrno>

#include "app/Globals.h"
#include "app/StartupPrint.h"

namespace {

using Resource = decltype(RLIMIT_CORE);

// How a limit's value is printed: as a number, or unlimited.
struct Lines {
    const char* number;
    const char* unlimited;
};

constexpr Lines CoreSize{"RLIMIT_CORE - cur %llu\n", "RLIMIT_CORE - cur unlimited"};
constexpr Lines Descriptors{"RLIMIT_NOFILE - cur %llu\n", "RLIMIT_NOFILE - cur unlimited"};
constexpr Lines MostDescriptors{"RLIMIT_NOFILE - max %llu\n", "RLIMIT_NOFILE - max unlimited"};

void Print(const Lines& lines, rlim_t value) {
    if (value == RLIM_INFINITY) {
        StartupPrint("%s", lines.unlimited);
    } else {
        StartupPrint(lines.number, static_cast<unsigned long long>(value));
    }
}

void Set(Resource resource, const rlimit& limit) {
    if (setrlimit(resource, &limit) != 0) StartupPrint("setrlimit error %d\n", errno);
}

void RaiseCoreSize() {
    Set(RLIMIT_CORE, {RLIM_INFINITY, RLIM_INFINITY});
    rlimit limit{};
    getrlimit(RLIMIT_CORE, &limit);
    Print(CoreSize, limit.rlim_cur);
}

void RaiseDescriptors() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    Print(Descriptors, limit.rlim_cur);
    Print(MostDescriptors, limit.rlim_max);
    limit.rlim_cur = limit.rlim_max;
    Set(RLIMIT_NOFILE, limit);
    getrlimit(RLIMIT_NOFILE, &limit);
    Print(Descriptors, limit.rlim_cur);
}

}  // namespace

void RaiseResourceLimits() {
    RaiseCoreSize();
    if (!real_hardware) RaiseDescriptors();
}
