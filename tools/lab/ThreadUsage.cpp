#include "tools/lab/ThreadUsage.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace lab {

namespace {

constexpr const char* Names[] = {"relay", "module", "other"};

std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::uint64_t NumberBehind(const std::string& text, const char* key) {
    const std::size_t at = text.find(key);
    return at == std::string::npos ? 0 : std::strtoull(text.c_str() + at + std::strlen(key), nullptr, 10);
}

// The clock ticks of /proc/PID/stat are too coarse for a thread that works some microseconds at a time; the
// first field of schedstat is its time on a CPU in nanoseconds.
ThreadUsage::Share ReadThread(const std::filesystem::path& folder) {
    const std::string status = ReadAll(folder / "status");
    ThreadUsage::Share share;
    share.cpuNs = std::strtoull(ReadAll(folder / "schedstat").c_str(), nullptr, 10);
    share.voluntary = NumberBehind(status, "\nvoluntary_ctxt_switches:");
    share.involuntary = NumberBehind(status, "\nnonvoluntary_ctxt_switches:");
    share.threads = 1;
    return share;
}

void Add(ThreadUsage::Share& to, const ThreadUsage::Share& share) {
    to.cpuNs += share.cpuNs;
    to.voluntary += share.voluntary;
    to.involuntary += share.involuntary;
    to.threads += share.threads;
}

// A thread that ended in between took its past with it.
std::uint64_t Grown(std::uint64_t now, std::uint64_t before) {
    return now > before ? now - before : 0;
}

}  // namespace

const char* ThreadUsage::Name(Role role) {
    return Names[role];
}

ThreadUsage::Role ThreadUsage::RoleOf(std::string_view name) {
    if (name.starts_with(Names[Relay])) return Relay;
    return name.starts_with(Names[Module]) ? Module : Other;
}

std::optional<ThreadUsage> ThreadUsage::Read(pid_t pid) {
    std::error_code error;
    const std::filesystem::path tasks = "/proc/" + std::to_string(pid) + "/task";
    ThreadUsage usage;
    for (std::filesystem::directory_iterator it(tasks, error), end; !error && it != end; it.increment(error))
        Add(usage.shares[RoleOf(ReadAll(it->path() / "comm"))], ReadThread(it->path()));
    if (pid <= 0 || usage.Total().threads == 0) return std::nullopt;
    return usage;
}

ThreadUsage ThreadUsage::Since(const ThreadUsage& before) const {
    ThreadUsage result = *this;
    for (int role = 0; role < Roles; ++role) {
        Share& share = result.shares[role];
        const Share& old = before.shares[role];
        share.cpuNs = Grown(share.cpuNs, old.cpuNs);
        share.voluntary = Grown(share.voluntary, old.voluntary);
        share.involuntary = Grown(share.involuntary, old.involuntary);
    }
    return result;
}

ThreadUsage::Share ThreadUsage::Total() const {
    Share total;
    for (const Share& share : shares) Add(total, share);
    return total;
}

}  // namespace lab
