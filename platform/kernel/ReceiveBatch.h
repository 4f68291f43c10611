// Room for the datagrams of one read of a socket, shared by all sockets of a loop.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <span>

#include "platform/kernel/SockAddr.h"

namespace kernel {

class ReceiveBatch {
 public:
    static constexpr int Datagrams = 16;  // what one socket may deliver before the others have their turn
    static constexpr int LargestBytes = 4096;

    ReceiveBatch();

    // The first `count` messages, ready for a new read.
    std::span<mmsghdr> Prepare(int count);

    std::span<const UBYTE> Bytes(int index) const;
    SockAddr From(int index) const { return SockAddr(names[static_cast<std::size_t>(index)]); }
    bool IsTruncated(int index) const;
    // Leaves nothing of a datagram behind.
    void Wipe(int index);

 private:
    std::array<std::array<UBYTE, LargestBytes>, Datagrams> bytes;
    std::array<sockaddr_in, Datagrams> names{};
    std::array<iovec, Datagrams> vectors{};
    std::array<mmsghdr, Datagrams> messages{};
};

}  // namespace kernel
