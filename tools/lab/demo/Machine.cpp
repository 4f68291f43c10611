// What the demonstration and its report need to know about the machine.
#include "tools/lab/demo/Machine.h"

#include <ifaddrs.h>
#include <netpacket/packet.h>
#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <fstream>
#include <thread>

#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

// The value behind the first line of a file that begins with `key`, without what stands around it.
std::string ValueOf(const char* path, const std::string& key) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with(key)) continue;
        const size_t from = line.find_first_not_of(" \t:=\"", key.size());
        const size_t to = line.find_last_not_of(" \t\"");
        return from == std::string::npos ? "" : line.substr(from, to - from + 1);
    }
    return "";
}

std::string Now() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%d %B %Y, %H:%M:%S %Z", &parts);
    return text.data();
}

}  // namespace

std::vector<std::pair<std::string, std::string>> Machine::Facts() {
    utsname kernel{};
    uname(&kernel);
    std::string processor = ValueOf("/proc/cpuinfo", "model name");
    if (processor.empty()) processor = kernel.machine;
    return {{"Date", Now()},
            {"System", Format("%s, %s %s", ValueOf("/etc/os-release", "PRETTY_NAME").c_str(), kernel.sysname,
                              kernel.release)},
            {"Processors", Format("%u x %s", std::thread::hardware_concurrency(), processor.c_str())}};
}

std::vector<std::string> Machine::MacAddresses() {
    std::vector<std::string> found;
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return found;
    for (const ifaddrs* one = first; one != nullptr; one = one->ifa_next) {
        if (one->ifa_addr == nullptr || one->ifa_addr->sa_family != AF_PACKET) continue;
        const auto& link = *reinterpret_cast<const sockaddr_ll*>(one->ifa_addr);
        const unsigned char* mac = link.sll_addr;
        if (link.sll_halen != 6 || std::all_of(mac, mac + 6, [](unsigned char byte) { return byte == 0; }))
            continue;
        found.push_back(
            Format("%02x-%02x-%02x-%02x-%02x-%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]));
    }
    freeifaddrs(first);
    return found;
}

}  // namespace lab
