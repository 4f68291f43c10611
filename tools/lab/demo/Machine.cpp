// What the report says about the machine.
#include "tools/lab/demo/Machine.h"

#include <sys/utsname.h>

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

}  // namespace lab
