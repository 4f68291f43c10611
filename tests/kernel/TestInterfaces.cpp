// Which address and which MAC address stand for the host, on tables of interfaces that a test makes up.
#include <gtest/gtest.h>

#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/OperatingSystem.h"

namespace {

using kernel::NetworkInterface;

constexpr ULONG Loopback = INADDR_LOOPBACK;
constexpr ULONG Lan = 0xC0A8010A;  // 192.168.1.10
constexpr ULONG Wan = 0x0A000005;  // 10.0.0.5

class MadeUpHost : public kernel::OperatingSystem {
 public:
    MadeUpHost(std::vector<NetworkInterface> table, unsigned route) : table(std::move(table)), route(route) {
        kernel::ReplaceSystem(this);
    }
    ~MadeUpHost() override { kernel::ReplaceSystem(nullptr); }
    std::vector<NetworkInterface> Interfaces() override { return table; }
    unsigned DefaultRouteInterface() override { return route; }

 private:
    std::vector<NetworkInterface> table;
    unsigned route;
};

const NetworkInterface Lo{"lo", 1, Loopback, 0xFF000000, {}, true, true};
const NetworkInterface Down{"eth9", 5, 0xAC100001, 0xFFFFFF00, {9, 9, 9, 9, 9, 9}, false, false};
const NetworkInterface Eth0{"eth0", 2, Lan, 0xFFFFFF00, {0, 1, 2, 3, 4, 5}, true, false};
const NetworkInterface Eth1{"eth1", 3, Wan, 0xFF000000, {6, 7, 8, 9, 10, 11}, true, false};

TEST(TestInterfaces, PrimaryAddressAndMac) {
    struct Row {
        const char* name;
        std::vector<NetworkInterface> table;
        unsigned route;
        ULONG given;
        ULONG address;
        int firstMacByte;  // -1: none
    };
    const Row rows[] = {
        {"nothing", {}, 0, 0, 0, -1},
        {"loopback alone", {Lo}, 0, 0, 0, -1},
        {"loopback alone, address given", {Lo}, 0, Loopback + 1, Loopback + 1, -1},
        {"address given, MAC of another", {Lo, Eth1}, 3, Loopback + 1, Loopback + 1, 6},
        {"default route decides", {Lo, Eth0, Eth1}, 3, 0, Wan, 6},
        {"no default route: first that is up", {Lo, Down, Eth0, Eth1}, 0, 0, Lan, 0},
        {"default route without an address", {Lo, Eth0}, 7, 0, Lan, 0},
        {"address given wins", {Lo, Eth0, Eth1}, 3, Lan, Lan, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const MadeUpHost host(row.table, row.route);
        AsyncSocket::SetPrimaryAddress(row.given);
        EXPECT_EQ(AsyncSocket::LookupIface(~ULONG{0}), row.address);
        UBYTE mac[6] = {0xEE};
        EXPECT_EQ(AsyncSocket::LookupInterfaceMac(mac, false), row.firstMacByte >= 0);
        EXPECT_EQ(mac[0], row.firstMacByte >= 0 ? row.firstMacByte : 0xEE);
    }
    AsyncSocket::SetPrimaryAddress(0);
}

TEST(TestInterfaces, RoutingChoosesTheSourceTowardsAnAddress) {
    EXPECT_EQ(AsyncSocket::LookupIface(Loopback), Loopback);
    EXPECT_EQ(AsyncSocket::LookupIface(Loopback + 5), Loopback);
}

}  // namespace
