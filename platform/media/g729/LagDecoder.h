// Pitch lags out of the bits of a frame, and what stands in where those are lost.
#pragma once

#include <cstdint>

namespace g729 {

struct Lag {
    int whole = 0;     // 19..144
    int fraction = 0;  // thirds, -1..1
};

class LagDecoder {
 public:
    // First subframe; `index` of 8 bits.
    Lag First(int index);

    // Second subframe, relative to the lag that the first one used; `index` of 5 bits.
    Lag Second(int index);

    // Where the index is lost: the last lag, which grows meanwhile.
    Lag Lost();

 private:
    Lag Keep(Lag lag);

    int last = 60;  // what a loss would use
    int used = 60;  // by the last subframe
};

}  // namespace g729
