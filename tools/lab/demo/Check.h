// One thing that a demonstration verified: what was to be seen and what was.
#pragma once

#include <string>

namespace lab {

struct Check {
    std::string name;
    std::string expected;
    std::string seen;
    bool ok = false;
};

}  // namespace lab
