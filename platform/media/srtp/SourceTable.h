// The sources of a session. Nothing is allocated.
#pragma once

#include <array>

#include "platform/media/srtp/Source.h"

namespace srtp {

class SourceTable {
 public:
    static constexpr size_t MaxSources = 16;

    // The source of this SSRC. One that is not known is new and is forgotten with the next call, unless it is
    // kept before.
    Source& Get(ULONG ssrc);
    bool IsKnown(const Source& source) const { return &source != &candidate; }
    bool IsFull() const { return count == MaxSources; }
    // `source` is what Get() returned. In a full table it takes the place of the one that was kept first.
    // False: it was known already.
    bool Keep(const Source& source);

 private:
    std::array<Source, MaxSources> sources;
    Source candidate;
    size_t count = 0;
    size_t oldest = 0;
};

}  // namespace srtp
