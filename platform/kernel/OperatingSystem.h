// The one door to the operating system: clock, waiting, sockets, interfaces and device files. Everything else
// of the system reaches them through the kernel library, and the kernel library through this, so that a test
// can put a faulty or simulated twin in its place.
#pragma once

#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <array>
#include <span>
#include <string>
#include <vector>

#include "platform/kernel/Types.h"

namespace kernel {

// One IPv4 address of an interface; an interface without any stands once, with address 0.
struct NetworkInterface {
    std::string name;
    unsigned index = 0;          // as if_nametoindex counts
    ULONG address = 0;           // host byte order
    ULONG netmask = 0;           // host byte order
    std::array<UBYTE, 6> mac{};  // all zero when it has none
    bool up = false;
    bool loopback = false;
};

// Results follow the system calls: -1 with errno set on failure. Any thread.
class OperatingSystem {
 public:
    virtual ~OperatingSystem() = default;

    virtual std::uint64_t MonotonicMicroseconds();
    virtual void WallClock(timeval& out);
    // Ends early when the calling thread handles a signal.
    virtual void SleepUntil(std::uint64_t microseconds);
    // Waits for events of `epoll` at most `timeout` microseconds, for ever when negative.
    virtual int WaitEvents(int epoll, std::span<epoll_event> events, std::int64_t timeout);

    virtual int OpenSocket(int domain, int type);
    virtual int BindSocket(int fd, const sockaddr_in& address);
    virtual int ConnectSocket(int fd, const sockaddr_in& peer);
    virtual int SetSocketOption(int fd, int level, int option, const void* value, socklen_t size);
    virtual int SocketName(int fd, sockaddr_in& name);
    // `to` null: the connected peer.
    virtual ssize_t SendDatagram(int fd, std::span<const UBYTE> data, const sockaddr_in* to);
    // As recvmmsg, without waiting. Each message names one place for its bytes, and no control data.
    virtual int ReceiveDatagrams(int fd, std::span<mmsghdr> messages);
    virtual int CloseDescriptor(int fd);

    // The source address that routing would use towards `to` (host byte order), 0 when there is no route.
    virtual ULONG RouteSource(ULONG to);
    // Index of the interface that holds the default route of lowest metric, 0 when there is none.
    virtual unsigned DefaultRouteInterface();
    virtual std::vector<NetworkInterface> Interfaces();

    // A file that the flags ask to create is everybody's to read and write, as far as the umask allows.
    virtual int OpenDevice(const char* path, int flags);
    virtual int SetCloseOnExec(int fd);
    virtual ssize_t ReadDevice(int fd, std::span<UBYTE> data);
    virtual ssize_t WriteDevice(int fd, std::span<const UBYTE> data);
    virtual int FileStatus(const char* path, struct stat& status);
    // Makes the node of a character device, with exactly these permissions.
    virtual int MakeDeviceNode(const char* path, mode_t permissions, unsigned major, unsigned minor);
};

// The one in force: the real one unless a test has put another in its place.
OperatingSystem& System();

// Puts `replacement` in force (null: the real one). The caller keeps it alive; call it while no other thread
// of the library runs.
void ReplaceSystem(OperatingSystem* replacement);

}  // namespace kernel
