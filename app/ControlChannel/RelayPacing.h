// How many 10 ms frames may cross from one leg to the other in one tick, so that the receiving leg gets a
// whole packet's worth at a time.
#pragma once

struct RelayPacing {
    static constexpr int Unpaced = 12;

    int limit;  // frames in this tick
    int phase;  // ticks that have passed without frames, for the next call

    // `packetTime` of the receiving leg in milliseconds, `waiting` frames on the sending one, `phase` of the
    // last call.
    static RelayPacing Next(int packetTime, int waiting, int phase);

    bool operator==(const RelayPacing&) const = default;
};
