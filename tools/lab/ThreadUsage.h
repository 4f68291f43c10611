// What the threads of a process have used, told apart by what they are for.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace lab {

// One reading of /proc/PID/task; every number counts from the start of its thread, and only threads that live
// are in it.
struct ThreadUsage {
    enum Role { Relay, Module, Other };
    static constexpr int Roles = 3;

    struct Share {
        std::uint64_t cpuNs = 0;
        std::uint64_t voluntary = 0;    // context switches of a thread that had to wait
        std::uint64_t involuntary = 0;  // of one that had to make room for another
        int threads = 0;
    };
    std::array<Share, Roles> shares;

    // Nothing when there is no such process.
    static std::optional<ThreadUsage> Read(pid_t pid);
    // By the name of a thread: "relay 12", "module", anything else.
    static Role RoleOf(std::string_view name);
    static const char* Name(Role role);

    // What was used since `before`. The threads are those that live now.
    ThreadUsage Since(const ThreadUsage& before) const;
    Share Total() const;
};

}  // namespace lab
