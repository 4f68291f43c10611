// The least that any relay of packets costs: epoll, receive, send, on one thread, without a look at what is
// carried.
//   PlainForwarder ADDRESS FIRST-PORT SLOTS
// Slot n has its internal leg at FIRST-PORT + 2n and its external leg at the next port. A datagram of 6 bytes
// (address and port, big-endian) tells a leg whom it speaks to, and comes back as it is; anything else goes
// out of the other leg. Ends with SIGTERM.
#include <arpa/inet.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t AnnouncementSize = 6;
constexpr int EventsPerWait = 256;

struct Leg {
    int fd = -1;
    sockaddr_in peer{};
};

bool Open(Leg& leg, const char* address, int port) {
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_port = htons(static_cast<std::uint16_t>(port));
    leg.fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    return inet_pton(AF_INET, address, &own.sin_addr) == 1 &&
           bind(leg.fd, reinterpret_cast<const sockaddr*>(&own), sizeof own) == 0;
}

void Announce(Leg& leg, const unsigned char* bytes) {
    leg.peer.sin_family = AF_INET;
    std::memcpy(&leg.peer.sin_addr, bytes, sizeof leg.peer.sin_addr);
    std::memcpy(&leg.peer.sin_port, bytes + 4, sizeof leg.peer.sin_port);
}

void Serve(std::vector<Leg>& legs, std::size_t index) {
    std::array<unsigned char, 4096> bytes{};
    sockaddr_in from{};
    socklen_t size = sizeof from;
    Leg& leg = legs[index];
    const ssize_t count =
        recvfrom(leg.fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    if (count < 0) return;
    const auto length = static_cast<std::size_t>(count);
    const Leg* out = &legs[index ^ 1U];
    const sockaddr_in* to = &out->peer;
    if (length == AnnouncementSize) {
        Announce(leg, bytes.data());
        out = &leg;
        to = &from;
    }
    sendto(out->fd, bytes.data(), length, 0, reinterpret_cast<const sockaddr*>(to), sizeof *to);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: PlainForwarder ADDRESS FIRST-PORT SLOTS\n");
        return 2;
    }
    const int first = std::atoi(argv[2]);
    std::vector<Leg> legs(2 * static_cast<std::size_t>(std::atoi(argv[3])));
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    for (std::size_t i = 0; i < legs.size(); ++i) {
        if (!Open(legs[i], argv[1], first + static_cast<int>(i))) {
            std::perror("PlainForwarder: cannot open a port");
            return 1;
        }
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u64 = i;
        epoll_ctl(epoll, EPOLL_CTL_ADD, legs[i].fd, &event);
    }
    std::array<epoll_event, EventsPerWait> events{};
    for (;;) {
        const int count = epoll_wait(epoll, events.data(), EventsPerWait, -1);
        for (int i = 0; i < count; ++i) Serve(legs, events[static_cast<std::size_t>(i)].data.u64);
    }
}
