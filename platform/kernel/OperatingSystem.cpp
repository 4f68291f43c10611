// The real operating system: Linux.
#include "platform/kernel/OperatingSystem.h"

#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

namespace kernel {

namespace {

constexpr long MicrosecondsPerSecond = 1'000'000;
constexpr long NanosecondsPerMicrosecond = 1000;
constexpr mode_t Everybody = 0666;

OperatingSystem* replaced = nullptr;

timespec TimeSpec(std::uint64_t microseconds) {
    return {static_cast<time_t>(microseconds / MicrosecondsPerSecond),
            static_cast<long>(microseconds % MicrosecondsPerSecond) * NanosecondsPerMicrosecond};
}

struct FreeInterfaces {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

ULONG HostAddress(const sockaddr* address) {
    return address == nullptr ? 0 : ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

void CopyMac(std::vector<NetworkInterface>& interfaces, const ifaddrs& link) {
    const auto* packet = reinterpret_cast<const sockaddr_ll*>(link.ifa_addr);
    for (NetworkInterface& interface : interfaces) {
        if (interface.name == link.ifa_name && packet->sll_halen == interface.mac.size()) {
            std::memcpy(interface.mac.data(), packet->sll_addr, interface.mac.size());
        }
    }
}

// What recvmmsg does for one message, a fifth cheaper.
int ReceiveOne(int fd, mmsghdr& message) {
    msghdr& header = message.msg_hdr;
    const iovec& room = *header.msg_iov;
    const ssize_t bytes = recvfrom(fd, room.iov_base, room.iov_len, MSG_DONTWAIT | MSG_TRUNC,
                                   static_cast<sockaddr*>(header.msg_name), &header.msg_namelen);
    if (bytes < 0) return -1;
    const auto sent = static_cast<std::size_t>(bytes);
    message.msg_len = static_cast<unsigned>(std::min(sent, room.iov_len));
    header.msg_flags = sent > room.iov_len ? MSG_TRUNC : 0;
    return 1;
}

}  // namespace

std::uint64_t OperatingSystem::MonotonicMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * MicrosecondsPerSecond +
           static_cast<std::uint64_t>(now.tv_nsec) / NanosecondsPerMicrosecond;
}

void OperatingSystem::WallClock(timeval& out) {
    gettimeofday(&out, nullptr);
}

void OperatingSystem::SleepUntil(std::uint64_t microseconds) {
    const timespec until = TimeSpec(microseconds);
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

int OperatingSystem::WaitEvents(int epoll, std::span<epoll_event> events, std::int64_t timeout) {
    const int room = static_cast<int>(events.size());
    if (timeout < 0) return epoll_wait(epoll, events.data(), room, -1);
    const timespec wait = TimeSpec(static_cast<std::uint64_t>(timeout));
    const int count = epoll_pwait2(epoll, events.data(), room, &wait, nullptr);
    if (count >= 0 || errno != ENOSYS) return count;
    constexpr std::int64_t MicrosecondsPerMs = 1000;
    return epoll_wait(epoll, events.data(), room,
                      static_cast<int>((timeout + MicrosecondsPerMs - 1) / MicrosecondsPerMs));
}

int OperatingSystem::OpenSocket(int domain, int type) {
    return socket(domain, type, 0);
}

int OperatingSystem::BindSocket(int fd, const sockaddr_in& address) {
    return bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

int OperatingSystem::ConnectSocket(int fd, const sockaddr_in& peer) {
    return connect(fd, reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
}

int OperatingSystem::SetSocketOption(int fd, int level, int option, const void* value, socklen_t size) {
    return setsockopt(fd, level, option, value, size);
}

int OperatingSystem::SocketName(int fd, sockaddr_in& name) {
    socklen_t size = sizeof name;
    return getsockname(fd, reinterpret_cast<sockaddr*>(&name), &size);
}

ssize_t OperatingSystem::SendDatagram(int fd, std::span<const UBYTE> data, const sockaddr_in* to) {
    return sendto(fd, data.data(), data.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(to), to != nullptr ? sizeof *to : 0);
}

int OperatingSystem::ReceiveDatagrams(int fd, std::span<mmsghdr> messages) {
    if (messages.size() == 1) return ReceiveOne(fd, messages[0]);
    return recvmmsg(fd, messages.data(), static_cast<unsigned>(messages.size()), MSG_DONTWAIT, nullptr);
}

int OperatingSystem::CloseDescriptor(int fd) {
    return close(fd);
}

ULONG OperatingSystem::RouteSource(ULONG to) {
    const int fd = OpenSocket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC);
    if (fd < 0) return 0;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(to);
    address.sin_port = htons(9);  // any: nothing is sent
    const bool routed = ConnectSocket(fd, address) == 0 && SocketName(fd, address) == 0;
    CloseDescriptor(fd);
    return routed ? ntohl(address.sin_addr.s_addr) : 0;
}

unsigned OperatingSystem::DefaultRouteInterface() {
    const std::unique_ptr<FILE, int (*)(FILE*)> table(std::fopen("/proc/net/route", "re"), std::fclose);
    if (table == nullptr) return 0;
    unsigned best = 0;
    unsigned bestMetric = ~0U;
    char line[256];
    while (std::fgets(line, sizeof line, table.get()) != nullptr) {
        char name[IF_NAMESIZE];
        unsigned destination = 0;
        unsigned mask = 0;
        unsigned metric = 0;
        // NOLINTNEXTLINE(cert-err34-c): the kernel wrote it, and a heading that does not match is what is
        // skipped
        if (std::sscanf(line, "%15s %x %*x %*x %*u %*u %u %x", name, &destination, &metric, &mask) != 4)
            continue;
        if (destination != 0 || mask != 0 || metric >= bestMetric) continue;
        best = if_nametoindex(name);
        bestMetric = metric;
    }
    return best;
}

std::vector<NetworkInterface> OperatingSystem::Interfaces() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return {};
    const std::unique_ptr<ifaddrs, FreeInterfaces> owner(list);

    std::vector<NetworkInterface> interfaces;
    const auto add = [&interfaces](const ifaddrs& at, ULONG address) {
        interfaces.push_back({at.ifa_name,
                              if_nametoindex(at.ifa_name),
                              address,
                              HostAddress(at.ifa_netmask),
                              {},
                              (at.ifa_flags & IFF_UP) != 0,
                              (at.ifa_flags & IFF_LOOPBACK) != 0});
    };
    for (const ifaddrs* at = list; at != nullptr; at = at->ifa_next) {
        if (at->ifa_addr != nullptr && at->ifa_addr->sa_family == AF_INET)
            add(*at, HostAddress(at->ifa_addr));
    }
    for (const ifaddrs* at = list; at != nullptr; at = at->ifa_next) {
        if (at->ifa_addr == nullptr || at->ifa_addr->sa_family != AF_PACKET) continue;
        bool known = false;
        for (const NetworkInterface& interface : interfaces) known = known || interface.name == at->ifa_name;
        if (!known) {
            interfaces.push_back({at->ifa_name,
                                  if_nametoindex(at->ifa_name),
                                  0,
                                  0,
                                  {},
                                  (at->ifa_flags & IFF_UP) != 0,
                                  (at->ifa_flags & IFF_LOOPBACK) != 0});
        }
        CopyMac(interfaces, *at);
    }
    return interfaces;
}

int OperatingSystem::OpenDevice(const char* path, int flags) {
    return open(path, flags, Everybody);
}

int OperatingSystem::SetCloseOnExec(int fd) {
    return fcntl(fd, F_SETFD, FD_CLOEXEC);
}

ssize_t OperatingSystem::ReadDevice(int fd, std::span<UBYTE> data) {
    return read(fd, data.data(), data.size());
}

ssize_t OperatingSystem::WriteDevice(int fd, std::span<const UBYTE> data) {
    return write(fd, data.data(), data.size());
}

int OperatingSystem::FileStatus(const char* path, struct stat& status) {
    return stat(path, &status);
}

int OperatingSystem::MakeDeviceNode(const char* path, mode_t permissions, unsigned major, unsigned minor) {
    const int made = mknod(path, S_IFCHR | permissions, makedev(major, minor));
    return made == 0 ? chmod(path, permissions) : made;
}

OperatingSystem& System() {
    static OperatingSystem real;
    return replaced != nullptr ? *replaced : real;
}

void ReplaceSystem(OperatingSystem* replacement) {
    replaced = replacement;
}

}  // namespace kernel
