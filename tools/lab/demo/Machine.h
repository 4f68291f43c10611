// What the demonstration and its report need to know about the machine.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace lab {

class Machine {
 public:
    // Name and value of each: date, system, processor.
    static std::vector<std::pair<std::string, std::string>> Facts();
    // Of all interfaces that have one, as "02-1b-44-11-3a-b7".
    static std::vector<std::string> MacAddresses();
};

}  // namespace lab
