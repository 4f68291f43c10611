// What the report says about the machine.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace lab {

class Machine {
 public:
    // Name and value of each: date, system, processor.
    static std::vector<std::pair<std::string, std::string>> Facts();
};

}  // namespace lab
