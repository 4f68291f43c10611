#include "platform/media/srtp/SourceTable.h"

namespace srtp {

Source& SourceTable::Get(ULONG ssrc) {
    for (size_t i = 0; i < count; i++) {
        if (sources[i].ssrc == ssrc) return sources[i];
    }
    candidate = Source{.ssrc = ssrc};
    return candidate;
}

void SourceTable::Keep(const Source& source) {
    if (IsKnown(source)) return;
    if (!IsFull()) {
        sources[count++] = source;
        return;
    }
    sources[oldest] = source;
    oldest = (oldest + 1) % MaxSources;
}

}  // namespace srtp
