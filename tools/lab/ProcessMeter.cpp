#include "tools/lab/ProcessMeter.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace lab {

namespace {

constexpr double NsPerSecond = 1e9;

}  // namespace

double ProcessCost::CpuPerSecond(ThreadUsage::Role role) const {
    return seconds > 0 ? static_cast<double>(threads.shares[role].cpuNs) / NsPerSecond / seconds : 0;
}

std::optional<ProcessMeter::Reading> ProcessMeter::Read() const {
    const std::optional<ThreadUsage> threads = ThreadUsage::Read(pid);
    const std::optional<DaemonProcess::Usage> usage = DaemonProcess::Measure(pid);
    if (!threads || !usage) return std::nullopt;
    return Reading{std::chrono::steady_clock::now(), *usage, *threads};
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
    if (!begin || !end) return std::nullopt;
    ProcessCost cost;
    cost.seconds = std::chrono::duration<double>(end->at - begin->at).count();
    cost.cpuPerSecond = (end->usage.cpuSeconds - begin->usage.cpuSeconds) / cost.seconds;
    cost.threads = end->threads.Since(begin->threads);
    cost.rssBytes = rssBytes;
    cost.descriptors = end->usage.descriptors;
    return cost;
}

}  // namespace lab
