// A UDP descriptor.
#include "platform/kernel/Socket.h"

#include <cerrno>
#include <mutex>

#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/OperatingSystem.h"

OSIndirectList<Socket> Socket::socket_list;

namespace {

constexpr int ReceiveRoom = 1 << 20;  // bytes

// Sockets open and close on every thread with a loop.
std::mutex& ListLock() {
    static std::mutex lock;
    return lock;
}

}  // namespace

Socket::Socket() = default;

Socket::~Socket() {
    Close();
}

void Socket::Init(ULONG address) {
    if (address != 0) AsyncSocket::SetPrimaryAddress(address);
}

int Socket::Open(const SockAddr& local, bool share) {
    if (const int error = Create()) return error;
    // As much as the host grants: a burst waits here while the thread is busy, and is lost where there is no
    // room.
    SetOption(SOL_SOCKET, SO_RCVBUF, ReceiveRoom);
    if (share) SetOption(SOL_SOCKET, SO_REUSEADDR, 1);
    return Bind(local);
}

int Socket::OpenBeside(Socket& other) {
    sockaddr_in name{};
    if (kernel::System().SocketName(other.fd, name) != 0) return errno;
    if (const int error = Create()) return error;
    for (Socket* socket : {this, &other}) socket->SetOption(SOL_SOCKET, SO_REUSEPORT, 1);
    const int error = Bind(SockAddr(name));
    for (Socket* socket : {this, &other}) socket->SetOption(SOL_SOCKET, SO_REUSEPORT, 0);
    return error;
}

int Socket::Create() {
    fd = kernel::System().OpenSocket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) return errno;
    const std::lock_guard<std::mutex> guard(ListLock());
    socket_list.Append(this);
    return 0;
}

int Socket::Bind(const SockAddr& local) {
    if (kernel::System().BindSocket(fd, local.Native()) == 0) return 0;
    const int error = errno;
    Close();
    return error;
}

void Socket::Close() {
    if (fd < 0) return;
    {
        const std::lock_guard<std::mutex> guard(ListLock());
        socket_list.Remove(this);
    }
    kernel::System().CloseDescriptor(fd);
    fd = -1;
}

UWORD Socket::LocalPort() const {
    sockaddr_in name{};
    return fd >= 0 && kernel::System().SocketName(fd, name) == 0 ? ntohs(name.sin_port) : 0;
}

int Socket::SetOption(int level, int option, const void* value, socklen_t size) {
    return kernel::System().SetSocketOption(fd, level, option, value, size) == 0 ? 0 : errno;
}
