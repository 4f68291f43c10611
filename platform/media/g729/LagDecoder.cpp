#include "platform/media/g729/LagDecoder.h"

#include <algorithm>

#include "platform/media/g729/Sizes.h"

namespace g729 {

Lag LagDecoder::First(int index) {
    constexpr int Fractional = 197;  // indices below it have thirds
    if (index >= Fractional) return Keep({index - 112, 0});
    const int whole = (index + 2) / 3 + 19;
    return Keep({whole, index - 3 * whole + 58});
}

Lag LagDecoder::Second(int index) {
    constexpr int Range = 9;
    const int lowest = std::min(std::max(used - 5, MinLag), MaxLag - Range);
    const int step = (index + 2) / 3 - 1;
    return Keep({lowest + step, index - 2 - 3 * step});
}

Lag LagDecoder::Lost() {
    used = last;
    last = std::min(last + 1, MaxLag);
    return {used, 0};
}

Lag LagDecoder::Keep(Lag lag) {
    last = used = lag.whole;
    return lag;
}

}  // namespace g729
