// The module's line on what is left in its pools.
#include "tools/lab/demo/ResourcesLine.h"

#include <cstdio>

#include "tools/lab/demo/Text.h"

namespace lab {

std::optional<ResourcesLine> ResourcesLine::Parse(const std::string& line) {
    const size_t at = line.find("Resources: ");
    if (at == std::string::npos) return std::nullopt;
    ResourcesLine r;
    const int fields = std::sscanf(line.c_str() + at,
                                   "Resources: mem=%*u (%*u) L=%d CB=%d B=%d(%*d),%d(%*d),%d(%*d),%d(%*d) "
                                   "AsyncSockets=%d Sockets=%d ActiveChans=%d",
                                   &r.links, &r.callbacks, &r.buffers[0], &r.buffers[1], &r.buffers[2],
                                   &r.buffers[3], &r.asyncSockets, &r.sockets, &r.slots);
    if (fields != 9) return std::nullopt;
    return r;
}

std::string ResourcesLine::Words() const {
    return Format("buffers %d,%d,%d,%d, sockets %d, slots %d", buffers[0], buffers[1], buffers[2], buffers[3],
                  asyncSockets, slots);
}

}  // namespace lab
