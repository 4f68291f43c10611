#include "platform/media/srtp/SourceTable.h"

namespace srtp {

Source& SourceTable::Get(ULONG ssrc) {
    for (size_t i = 0; i < count; i++) {
        if (sources[i].ssrc == ssrc) return sources[i];
    }
    candidate = Source{.ssrc = ssrc};
    return candidate;
}

bool SourceTable::Keep(const Source& source) {
    if (IsKnown(source)) return false;
    if (!IsFull()) {
        sources[count++] = source;
    } else {
        sources[oldest] = source;
        oldest = (oldest + 1) % MaxSources;
    }
    return true;
}

}  // namespace srtp
