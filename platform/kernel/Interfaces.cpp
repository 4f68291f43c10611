// The host's addresses, by the kernel's routing and interface tables.
#include "platform/kernel/Interfaces.h"

#include <algorithm>

#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

using kernel::NetworkInterface;

constexpr ULONG PrimaryAddress = ~ULONG{0};

bool HasMac(const NetworkInterface& interface) {
    return std::any_of(interface.mac.begin(), interface.mac.end(), [](UBYTE byte) { return byte != 0; });
}

ULONG FindPrimaryAddress() {
    const std::vector<NetworkInterface> interfaces = kernel::System().Interfaces();
    const unsigned byRoute = kernel::System().DefaultRouteInterface();
    for (const NetworkInterface& interface : interfaces) {
        if (byRoute != 0 && interface.index == byRoute && interface.address != 0) return interface.address;
    }
    for (const NetworkInterface& interface : interfaces) {
        if (interface.up && !interface.loopback && interface.address != 0) return interface.address;
    }
    return 0;
}

// The interface that has the address, or else, since any address of the loopback network is the host's own,
// the one in whose network it lies; null when there is none.
const NetworkInterface* FindCarrier(const std::vector<NetworkInterface>& interfaces, ULONG address) {
    for (const NetworkInterface& interface : interfaces) {
        if (address != 0 && interface.address == address) return &interface;
    }
    for (const NetworkInterface& interface : interfaces) {
        const bool loopbackNetwork = interface.loopback && interface.address != 0;
        if (loopbackNetwork && (interface.address & interface.netmask) == (address & interface.netmask)) {
            return &interface;
        }
    }
    return nullptr;
}

}  // namespace

unsigned kernel::MulticastInterface(ULONG address) {
    const ULONG carried = address != 0 ? address : AsyncSocket::local_ipaddr;
    if (carried == 0) return 0;
    const std::vector<NetworkInterface> interfaces = System().Interfaces();
    const NetworkInterface* carrier = FindCarrier(interfaces, carried);
    return carrier == nullptr ? 0 : carrier->index;
}

void AsyncSocket::SetPrimaryAddress(ULONG address) {
    local_ipaddr = address;
}

ULONG AsyncSocket::LookupIface(ULONG address) {
    if (address != PrimaryAddress) return kernel::System().RouteSource(address);
    return local_ipaddr != 0 ? local_ipaddr : FindPrimaryAddress();
}

bool AsyncSocket::LookupInterfaceMac(UBYTE* mac, bool /*permanent*/) {
    const std::vector<NetworkInterface> interfaces = kernel::System().Interfaces();
    const NetworkInterface* chosen = FindCarrier(interfaces, LookupIface(PrimaryAddress));
    if (chosen == nullptr || !HasMac(*chosen)) {
        const auto first = std::find_if(interfaces.begin(), interfaces.end(), HasMac);
        chosen = first == interfaces.end() ? nullptr : &*first;
    }
    if (chosen == nullptr) return false;
    std::copy(chosen->mac.begin(), chosen->mac.end(), mac);
    return true;
}
