// IPv4 addresses and ports.
#include "platform/kernel/SockAddr.h"

#include <arpa/inet.h>

SockAddr::SockAddr(const char* text, UWORD port) : port(port) {
    in_addr parsed{};
    if (text != nullptr && inet_pton(AF_INET, text, &parsed) == 1) address = ntohl(parsed.s_addr);
}

SockAddr::SockAddr(const sockaddr_in& native)
    : address(ntohl(native.sin_addr.s_addr)), port(ntohs(native.sin_port)) {}

void SockAddr::Set(ULONG newAddress, UWORD newPort) {
    address = newAddress;
    port = newPort;
}

std::string SockAddr::AddressStr() const {
    char text[INET_ADDRSTRLEN] = "";
    const in_addr native{htonl(address)};
    inet_ntop(AF_INET, &native, text, sizeof text);
    return text;
}

sockaddr_in SockAddr::Native() const {
    sockaddr_in native{};
    native.sin_family = AF_INET;
    native.sin_addr.s_addr = htonl(address);
    native.sin_port = htons(port);
    return native;
}
