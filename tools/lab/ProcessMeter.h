// Measures what a process costs while it is under load.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>

#include "tools/lab/DaemonProcess.h"
#include "tools/lab/ThreadUsage.h"

namespace lab {

struct ProcessCost {
    double seconds = 0;          // measured
    double cpuPerSecond = 0;     // CPU seconds of user and system time a wall second
    ThreadUsage threads;         // by role, in `seconds`
    std::uint64_t rssBytes = 0;  // the most seen
    int descriptors = 0;

    // CPU seconds a wall second of the threads of one role.
    double CpuPerSecond(ThreadUsage::Role role) const;
};

// One thread. A process that is unknown (0) or gone is not measured.
class ProcessMeter {
 public:
    explicit ProcessMeter(pid_t process) : pid(process) {}

    void Begin();
    // Cheap; call it now and then: what it needs most of memory is seen only in between.
    void Look();
    std::optional<ProcessCost> End();

 private:
    struct Reading {
        std::chrono::steady_clock::time_point at;
        DaemonProcess::Usage usage;
        ThreadUsage threads;
    };
    std::optional<Reading> Read() const;

    const pid_t pid;
    std::optional<Reading> begin;
    std::uint64_t rssBytes = 0;
};

}  // namespace lab
