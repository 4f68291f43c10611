// Nearest entries of the LSP codebooks. Distances are sums of products that cannot be negative, so that the
// clipping sum of the standard is the true one or the limit.
#include "platform/media/g729/PlainKernels.h"
#include "platform/media/g729/Tables.h"

namespace g729::plain {

namespace {

constexpr std::int64_t Limit = std::int64_t{1} << 30;  // sums are doubled

// Keeps the first of the least.
struct Nearest {
    std::int64_t distance = Limit;
    int entry = 0;

    void Consider(std::int64_t other, int itsEntry) {
        entry = other < distance ? itsEntry : entry;
        distance = other < distance ? other : distance;
    }
};

template <int From, int Count>
std::uint8_t NearestHalf(const std::int16_t* target, const std::int16_t* weights) {
    Nearest nearest;
    for (int entry = 0; entry < 32; entry++) {
        std::int64_t distance = 0;
        for (int j = From; j < From + Count; j++) {
            const std::int32_t difference = Sub(target[j], LspCodebook2[entry][j]);
            distance += ((weights[j] * difference) >> 15) * difference;
        }
        nearest.Consider(distance, entry);
    }
    return static_cast<std::uint8_t>(nearest.entry);
}

std::uint8_t NearestFirst(const std::int16_t* target) {
    Nearest nearest;
    for (int entry = 0; entry < 128; entry++) {
        std::int64_t distance = 0;
        for (int j = 0; j < Order; j++) {
            const std::int32_t difference = Sub(target[j], LspCodebook1[entry][j]);
            distance += difference * difference;
        }
        nearest.Consider(distance, entry);
    }
    return static_cast<std::uint8_t>(nearest.entry);
}

}  // namespace

void SearchLsp(const std::int16_t* target, const std::int16_t* weights, LspIndices& found) {
    found.first = NearestFirst(target);
    std::int16_t rest[Order];
    for (int j = 0; j < Order; j++) rest[j] = Sub(target[j], LspCodebook1[found.first][j]);
    found.low = NearestHalf<0, Order / 2>(rest, weights);
    found.high = NearestHalf<Order / 2, Order / 2>(rest, weights);
}

}  // namespace g729::plain
