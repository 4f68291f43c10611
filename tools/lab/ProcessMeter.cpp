#include "tools/lab/ProcessMeter.h"

#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <string>

#include "tools/lab/DaemonProcess.h"

namespace lab {

namespace {

constexpr double NsPerSecond = 1e9;

std::int64_t SteadyNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

// Of all threads, those that have ended included; to the nanosecond.
std::optional<double> CpuSeconds(pid_t pid) {
    clockid_t clock{};
    timespec used{};
    if (pid <= 0 || clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return std::nullopt;
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / NsPerSecond;
}

}  // namespace

double ProcessCost::CpuPerSecond(ThreadUsage::Role role) const {
    return seconds > 0 ? static_cast<double>(threads.shares[role].cpuNs) / NsPerSecond / seconds : 0;
}

std::optional<ProcessMeter::Reading> ProcessMeter::Read() const {
    const std::optional<ThreadUsage> threads = ThreadUsage::Read(pid);
    const std::optional<double> cpu = CpuSeconds(pid);
    if (!threads || !cpu) return std::nullopt;
    return Reading{SteadyNs(), *cpu, *threads};
}

void ProcessMeter::Begin() {
    begin = Read();
    Look();
}

void ProcessMeter::Look() {
    if (!begin) return;
    std::ifstream file("/proc/" + std::to_string(pid) + "/statm");
    std::uint64_t total = 0;
    std::uint64_t resident = 0;
    if (file >> total >> resident)
        rssBytes = std::max(rssBytes, resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)));
}

std::optional<ProcessCost> ProcessMeter::End() {
    Look();
    const std::optional<Reading> end = Read();
    const std::optional<DaemonProcess::Usage> usage = DaemonProcess::Measure(pid);
    if (!begin || !end || !usage) return std::nullopt;
    ProcessCost cost;
    cost.seconds = static_cast<double>(end->atNs - begin->atNs) / NsPerSecond;
    cost.cpuPerSecond = (end->cpuSeconds - begin->cpuSeconds) / cost.seconds;
    cost.threads = end->threads.Since(begin->threads);
    cost.rssBytes = rssBytes;
    cost.descriptors = usage->descriptors;
    return cost;
}

}  // namespace lab
