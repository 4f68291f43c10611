// Searches in the tables of the spectrum and of the gains.
#include <algorithm>

#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/Tables.h"

namespace g729::reference {

namespace {

constexpr int Half = Order / 2;

std::uint8_t NearestFirst(const std::int16_t* target) {
    constexpr int Entries = 128;
    std::int32_t least = Max32;
    int nearest = 0;
    for (int entry = 0; entry < Entries; entry++) {
        std::int32_t distance = 0;
        for (int j = 0; j < Order; j++) {
            const std::int16_t difference = Sub(target[j], LspCodebook1[entry][j]);
            distance = LMac(distance, difference, difference);
        }
        if (distance >= least) continue;
        least = distance;
        nearest = entry;
    }
    return static_cast<std::uint8_t>(nearest);
}

std::uint8_t NearestHalf(const std::int16_t* target, const std::int16_t* weights, int from) {
    constexpr int Entries = 32;
    std::int32_t least = Max32;
    int nearest = 0;
    for (int entry = 0; entry < Entries; entry++) {
        std::int32_t distance = 0;
        for (int j = from; j < from + Half; j++) {
            const std::int16_t difference = Sub(target[j], LspCodebook2[entry][j]);
            distance = LMac(distance, Mult(weights[j], difference), difference);
        }
        if (distance >= least) continue;
        least = distance;
        nearest = entry;
    }
    return static_cast<std::uint8_t>(nearest);
}

std::int32_t GainError(const GainSearch& search, std::int16_t pitch, std::int16_t code) {
    std::int32_t error = Multiply(search.terms[0], Mult(pitch, pitch));
    error = LAdd(error, Multiply(search.terms[1], pitch));
    error = LAdd(error, Multiply(search.terms[2], Mult(code, code)));
    error = LAdd(error, Multiply(search.terms[3], code));
    return LAdd(error, Multiply(search.terms[4], Mult(code, pitch)));
}

}  // namespace

void SearchLsp(const std::int16_t* target, const std::int16_t* weights, LspIndices& found) {
    found.first = NearestFirst(target);
    std::int16_t rest[Order];
    for (int j = 0; j < Order; j++) rest[j] = Sub(target[j], LspCodebook1[found.first][j]);
    found.low = NearestHalf(rest, weights, 0);
    found.high = NearestHalf(rest, weights, Half);
}

GainChoice SearchGains(const GainSearch& search) {
    constexpr std::int16_t TamedLimit = 16383;  // Q14
    GainChoice choice = {search.first1, search.first2};
    std::int32_t least = Max32;
    for (int i = search.first1; i < search.first1 + 4; i++) {
        for (int j = search.first2; j < search.first2 + 8; j++) {
            const std::int16_t pitch = Add(GainCodebook1[i][0], GainCodebook2[j][0]);
            if (search.tamed && pitch >= TamedLimit) continue;
            const int correction = (GainCodebook1[i][1] + GainCodebook2[j][1]) >> 1;
            const std::int16_t code = Mult(search.predicted, static_cast<std::int16_t>(correction));
            const std::int32_t error = GainError(search, pitch, code);
            if (error >= least) continue;
            least = error;
            choice = {i, j};
        }
    }
    return choice;
}

}  // namespace g729::reference
