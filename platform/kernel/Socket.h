// A UDP descriptor: opening, options, sending, receiving. AsyncSocket puts it into a thread's loop.
#pragma once

#include <span>

#include "platform/kernel/OSIndirectList.h"
#include "platform/kernel/SockAddr.h"

class Socket {
 public:
    Socket();
    ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    // Starts the socket layer, with the host's primary address where one is given (0: as it is). May be
    // called again.
    static void Init(ULONG address);

    // Opens and binds; 0 or the errno of the step that failed, with nothing left open.
    int Open(const SockAddr& local, bool share);
    // The same beside `other` on the port that it is bound to, which nobody else can share afterwards.
    int OpenBeside(Socket& other);
    void Close();
    bool IsOpen() const { return fd >= 0; }
    int Descriptor() const { return fd; }
    // The port bound, 0 when closed.
    UWORD LocalPort() const;

    // Both 0 or errno.
    int SetOption(int level, int option, const void* value, socklen_t size);
    int SetOption(int level, int option, int value) { return SetOption(level, option, &value, sizeof value); }

    static OSIndirectList<Socket> socket_list;  // every open socket; only its Size is for other threads

 private:
    int Create();
    int Bind(const SockAddr& local);

    int fd = -1;
};
