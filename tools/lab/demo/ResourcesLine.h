// The module's line on what is left in its pools and how many sockets it has open.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace lab {

struct ResourcesLine {
    int links = 0;                 // free list links
    int callbacks = 0;             // free callback records
    std::array<int, 4> buffers{};  // free buffers of each pool
    int asyncSockets = 0;
    int sockets = 0;
    int slots = 0;

    // Nothing when the line is another one.
    static std::optional<ResourcesLine> Parse(const std::string& line);
    // As "buffers 200,8000,500,500, sockets 3, slots 0".
    std::string Words() const;
    bool operator==(const ResourcesLine&) const = default;
};

}  // namespace lab
