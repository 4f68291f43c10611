#include "app/ControlChannel/RelayPacing.h"

#include <algorithm>

RelayPacing RelayPacing::Next(int packetTime, int waiting, int phase) {
    if (packetTime != 20 && packetTime != 30) return {Unpaced, phase};
    const int packet = packetTime / 10;
    const bool backlog = waiting > 3;
    if (backlog || (waiting >= packet && phase >= packet - 1)) return {packet, 0};
    return {0, packet == 2 ? 1 : std::min(phase, packet - 1) + 1};  // counted no further than it matters
}
