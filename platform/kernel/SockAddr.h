// An IPv4 address and port, both held in host byte order.
#pragma once

#include <netinet/in.h>

#include <string>

#include "platform/kernel/Types.h"

class SockAddr {
 public:
    SockAddr() = default;
    SockAddr(ULONG address, UWORD port) : address(address), port(port) {}
    // From dotted text; a null, empty or ill-formed text gives address 0.
    SockAddr(const char* text, UWORD port);
    explicit SockAddr(const sockaddr_in& native);

    void Set(ULONG newAddress, UWORD newPort);
    ULONG Address() const { return address; }
    UWORD Port() const { return port; }
    bool IsMulticast() const { return (address >> 28) == 0xE; }

    // The address as dotted text; address 0 is "0.0.0.0".
    std::string AddressStr() const;
    sockaddr_in Native() const;

    bool operator==(const SockAddr&) const = default;

 private:
    ULONG address = 0;
    UWORD port = 0;
};
