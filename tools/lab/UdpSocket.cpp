#include "tools/lab/UdpSocket.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {

constexpr std::size_t LargestDatagram = 65536;
constexpr int PairAttempts = 200;

void Enable(int fd, int level, int option) {
    const int on = 1;
    setsockopt(fd, level, option, &on, sizeof on);
}

}  // namespace

std::int64_t WallNs() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

UdpSocket::UdpSocket(UdpSocket&& other) noexcept : refused(other.refused), fd(std::exchange(other.fd, -1)) {}

UdpSocket& UdpSocket::operator=(UdpSocket&& other) noexcept {
    std::swap(fd, other.fd);
    std::swap(refused, other.refused);
    return *this;
}

bool UdpSocket::Open(const SockAddr& local, std::string& error, bool share) {
    Close();
    fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const sockaddr_in native = local.Native();
    if (fd >= 0 && share) Enable(fd, SOL_SOCKET, SO_REUSEADDR);
    if (fd >= 0 && bind(fd, reinterpret_cast<const sockaddr*>(&native), sizeof native) == 0) {
        Enable(fd, SOL_SOCKET, SO_TIMESTAMPNS);
        return true;
    }
    error = "Cannot open UDP port " + ToText(local) + ": " + std::strerror(errno);
    Close();
    return false;
}

void UdpSocket::Close() {
    if (fd >= 0) close(fd);
    fd = -1;
}

SockAddr UdpSocket::Local() const {
    sockaddr_in native{};
    socklen_t size = sizeof native;
    if (fd < 0 || getsockname(fd, reinterpret_cast<sockaddr*>(&native), &size) != 0) return {};
    return SockAddr(native);
}

void UdpSocket::SetReceiveRoom(int bytes) {
    if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) != 0)
        setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

bool UdpSocket::Join(ULONG group, ULONG interfaceAddress) {
    ip_mreqn request{};
    request.imr_multiaddr.s_addr = htonl(group);
    request.imr_address.s_addr = htonl(interfaceAddress);
    return setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request) == 0;
}

void UdpSocket::ReportRefusals() {
    Enable(fd, IPPROTO_IP, IP_RECVERR);
}

bool UdpSocket::SendTo(std::span<const UBYTE> data, const SockAddr& to) const {
    const sockaddr_in native = to.Native();
    const auto sent =
        sendto(fd, data.data(), data.size(), 0, reinterpret_cast<const sockaddr*>(&native), sizeof native);
    return sent == static_cast<ssize_t>(data.size());
}

std::optional<UdpSocket::Arrival> UdpSocket::Receive(int timeoutMs) {
    refused = false;
    pollfd wait{fd, POLLIN, 0};
    if (poll(&wait, 1, timeoutMs) <= 0) return std::nullopt;
    thread_local std::vector<UBYTE> room(LargestDatagram);
    sockaddr_in from{};
    alignas(cmsghdr) std::array<UBYTE, 128> control{};
    iovec part{room.data(), room.size()};
    msghdr message{};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(fd, &message, 0);
    if (size < 0) {
        refused = errno == ECONNREFUSED;
        return std::nullopt;
    }
    return Arrival{{room.begin(), room.begin() + size}, SockAddr(from), ArrivalNs(message)};
}

std::int64_t UdpSocket::ArrivalNs(msghdr& message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_TIMESTAMPNS) continue;
        timespec stamp{};
        std::memcpy(&stamp, CMSG_DATA(part), sizeof stamp);
        return stamp.tv_sec * 1'000'000'000LL + stamp.tv_nsec;
    }
    return 0;
}

bool UdpPair::Open(ULONG address, std::string& error) {
    for (int attempt = 0; attempt < PairAttempts; ++attempt) {
        if (!rtp.Open(SockAddr(address, 0), error)) return false;
        const UWORD port = rtp.Local().Port();
        if (port % 2 == 0 && rtcp.Open(SockAddr(address, port + 1), error)) return true;
    }
    error = "Cannot find two neighbouring free UDP ports at " + SockAddr(address, 0).AddressStr();
    return false;
}

}  // namespace lab
