// Pulse search of the fixed codebook. No sum of the standard's search can clip: correlations are of 16 bits,
// and with the factors of the search (1/4, 1/8, 1/16) even the largest of them stay below 32 bits. What
// remains is small whole numbers, of which the factors are powers of two.
#include <algorithm>

#include "platform/media/g729/PlainKernels.h"
#include "platform/media/g729/ReferenceKernels.h"

namespace g729::plain {

namespace {

constexpr int Step = 5;

struct Merit {
    std::int32_t square = -1;
    std::int32_t energy = 1;

    bool IsAbove(const Merit& other) const { return square * other.energy > other.square * energy; }
};

struct Found {
    Merit merit;
    int a = 0, b = 0, m = 0, k = 0;
};

class Search {
 public:
    // False when a correlation might clip.
    bool Prepare(const std::int16_t* response, const std::int16_t* wanted);

    Found Run(int aTrack, int bTrack, int mTrack, int kTrack) const;

 private:
    void Correlate(const std::int16_t* h);
    Found FirstPair(int aTrack, int bTrack) const;
    int Largest(int track, int excluded) const;

    // Square of a sum of gains.
    static std::int32_t Square(std::int32_t sum) {
        const std::int32_t clipped = std::min<std::int32_t>(sum, Max16);
        return (clipped * clipped) >> 15;
    }

    std::int32_t gain[SubframeSamples];                      // of a pulse in the better sign
    std::int32_t energy[SubframeSamples];                    // of the response to it
    std::int32_t between[SubframeSamples][SubframeSamples];  // two such responses multiplied
};

bool Search::Prepare(const std::int16_t* response, const std::int16_t* wanted) {
    std::int64_t sum = 0;
    for (int n = 0; n < SubframeSamples; n++) sum += 2 * response[n] * static_cast<std::int64_t>(response[n]);
    if (sum > (32000LL << 16 | 0xFFFF)) return false;
    const int shift = NormL(static_cast<std::int32_t>(sum)) >> 1;
    // With the signs of the pulses, and later positions first, since their sums are the shorter ones.
    std::int16_t h[SubframeSamples];
    for (int n = 0; n < SubframeSamples; n++) h[n] = static_cast<std::int16_t>(response[n] * (1 << shift));
    for (int p = 0; p < SubframeSamples; p++) gain[p] = Abs(wanted[p]);
    Correlate(h);
    for (int p = 0; p < SubframeSamples; p++) {
        for (int q = 0; q < SubframeSamples; q++) {
            // The factors of the standard are 32767 and -32768.
            const std::int32_t r = between[p][q];
            between[p][q] = (wanted[p] ^ wanted[q]) < 0 ? -r : r - (r > 0);
        }
    }
    return true;
}

void Search::Correlate(const std::int16_t* h) {
    for (int apart = 0; apart < SubframeSamples; apart++) {
        std::int32_t sum = 0;
        for (int n = 0; n + apart < SubframeSamples; n++) {
            sum += 2 * h[n] * h[n + apart];
            const int q = SubframeSamples - 1 - n;
            between[q - apart][q] = between[q][q - apart] = sum >> 16;
        }
    }
    for (int p = 0; p < SubframeSamples; p++) energy[p] = between[p][p];
}

int Search::Largest(int track, int excluded) const {
    int largest = -1;
    for (int p = track; p < SubframeSamples; p += Step) {
        if (p != excluded && (largest < 0 || gain[p] > gain[largest])) largest = p;
    }
    return largest;
}

Found Search::FirstPair(int aTrack, int bTrack) const {
    Found best = {{}, aTrack, bTrack, 0, 0};
    const int first = Largest(aTrack, -1);
    for (const int a : {first, Largest(aTrack, first)}) {
        for (int b = bTrack; b < SubframeSamples; b += Step) {
            const Merit merit = {Square(gain[a] + gain[b]),
                                 (energy[a] + 2 * between[a][b] + energy[b] + 2) >> 2};
            if (merit.IsAbove(best.merit)) best = {merit, a, b, 0, 0};
        }
    }
    return best;
}

Found Search::Run(int aTrack, int bTrack, int mTrack, int kTrack) const {
    const Found first = FirstPair(aTrack, bTrack);
    const std::int32_t* withA = between[first.a];
    const std::int32_t* withB = between[first.b];
    const std::int32_t firstGain = first.merit.square < 0 ? 0 : gain[first.a] + gain[first.b];
    std::int32_t ofK[SubframeSamples];
    for (int k = kTrack; k < SubframeSamples; k += Step) {
        ofK[k] = 8 * ((2 * (withA[k] + withB[k]) + energy[k] + 4) >> 3) + 8;
    }
    Found best = {{}, first.a, first.b, mTrack, kTrack};
    for (int m = mTrack; m < SubframeSamples; m += Step) {
        const std::int32_t ofM = 4 * first.merit.energy + 2 * (withA[m] + withB[m]) + energy[m];
        for (int k = kTrack; k < SubframeSamples; k += Step) {
            const Merit merit = {Square(firstGain + gain[m] + gain[k]),
                                 (ofM + 2 * between[m][k] + ofK[k]) >> 4};
            if (merit.IsAbove(best.merit)) best = {merit, first.a, first.b, m, k};
        }
    }
    return best;
}

}  // namespace

void SearchPulses(const std::int16_t* response, const std::int16_t* wanted, int* positions) {
    Search search;
    if (!search.Prepare(response, wanted)) {
        reference::SearchPulses(response, wanted, positions);
        return;
    }
    Merit best;
    for (int track = 0; track < 4; track++) positions[track] = track;
    for (const int last : {3, 4}) {
        const Found low = search.Run(2, last, 0, 1);
        if (low.merit.IsAbove(best)) {
            best = low.merit;
            const int found[] = {low.m, low.k, low.a, low.b};
            std::copy_n(found, 4, positions);
        }
        const Found high = search.Run(last, 0, 1, 2);
        if (high.merit.IsAbove(best)) {
            best = high.merit;
            const int found[] = {high.b, high.m, high.k, high.a};
            std::copy_n(found, 4, positions);
        }
    }
}

}  // namespace g729::plain
