#include "tools/lab/SockAddrText.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <charconv>

namespace lab {

std::optional<SockAddr> ParseSockAddr(std::string_view text, UWORD defaultPort) {
    const std::size_t colon = text.find(':');
    const std::string address(text.substr(0, colon));
    unsigned port = defaultPort;
    if (colon != std::string_view::npos) {
        const std::string_view digits = text.substr(colon + 1);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
        if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    }
    in_addr parsed{};
    if (inet_pton(AF_INET, address.c_str(), &parsed) != 1 || port == 0 || port > 65535) return std::nullopt;
    return SockAddr(ntohl(parsed.s_addr), static_cast<UWORD>(port));
}

std::string ToText(const SockAddr& address) {
    return address.AddressStr() + ":" + std::to_string(address.Port());
}

ULONG SourceTowards(ULONG remote) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return 0;
    sockaddr_in to = SockAddr(remote, 9).Native();  // nothing is sent: connecting only looks up the route
    sockaddr_in local{};
    socklen_t size = sizeof local;
    if (connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0)
        getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size);
    close(fd);
    return ntohl(local.sin_addr.s_addr);
}

bool IsLocalAddress(ULONG address) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    const sockaddr_in native = SockAddr(address, 0).Native();
    const bool local = bind(fd, reinterpret_cast<const sockaddr*>(&native), sizeof native) == 0;
    close(fd);
    return local;
}

}  // namespace lab
