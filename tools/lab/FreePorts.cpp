#include "tools/lab/FreePorts.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <mutex>

namespace lab {

namespace {

constexpr int LowestPort = 10000;

int FirstEphemeralPort() {
    int first = 32768;
    std::ifstream("/proc/sys/net/ipv4/ip_local_port_range") >> first;
    return first;
}

bool IsFree(int port) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<UWORD>(port));
    const bool free = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return free;
}

// The first port from `first` on that is taken, `first` + `count` when all are free.
int FirstTaken(int first, int count) {
    int port = first;
    while (port < first + count && IsFree(port)) ++port;
    return port;
}

}  // namespace

std::optional<UWORD> FindFreePorts(int count) {
    static std::mutex lock;
    static int next = 0;
    const std::lock_guard held(lock);
    const int end = std::max(FirstEphemeralPort(), LowestPort + count);
    const int room = end - count - LowestPort;
    if (next == 0) next = LowestPort + static_cast<int>(getpid() * 977LL % std::max(room, 1));
    for (int tried = 0; tried <= 2 * room + 1;) {
        const int first = (next + 3) / 4 * 4;
        if (first + count > end || first + count > 65536) {
            tried += std::max(1, end - next);
            next = LowestPort;
            continue;
        }
        const int taken = FirstTaken(first, count);
        next = taken + (taken < first + count ? 1 : 0);
        if (taken == first + count) return static_cast<UWORD>(first);
        tried += next - first;
    }
    return std::nullopt;
}

}  // namespace lab
