#include <algorithm>

#include "platform/media/g729/ReferenceKernels.h"

namespace g729::reference {

namespace {

constexpr int Step = 5;  // between positions of a track; track t has t, t + 5, ... t + 35
constexpr int Tracks = 5;

// How good a set of pulses is: the square of their gain over the energy that they have after the filter.
struct Merit {
    std::int16_t square = -1;
    std::int16_t energy = 1;

    bool IsAbove(const Merit& other) const { return square * other.energy > other.square * energy; }
};

// Two or four pulses of one search.
struct Found {
    Merit merit;
    int at[4] = {};  // without any merit at all, the first of each track
    std::int16_t gain = 0;
};

class Search {
 public:
    Search(const std::int16_t* response, const std::int16_t* wanted);

    // Pulses three and four as a pair from tracks `a` (its two best positions) and `b`, then one in track `m`
    // and one in track `k`.
    Found Run(int a, int b, int m, int k) const;

 private:
    std::int16_t Between(int p, int q) const;
    Found FirstPair(int a, int b) const;
    void SecondPair(Found& found, int m, int k) const;

    std::int16_t gain[SubframeSamples];  // of a pulse in the better sign
    bool negative[SubframeSamples];      // that sign
    std::int16_t correlations[SubframeSamples][SubframeSamples];
};

// Scaled so that the sum of squares just fits 32 bits.
void Normalise(const std::int16_t* response, std::int16_t* scaled) {
    std::int32_t energy = 0;
    for (int n = 0; n < SubframeSamples; n++) energy = LMac(energy, response[n], response[n]);
    const int shift = Hi(energy) > 32000 ? -1 : NormL(energy) >> 1;
    for (int n = 0; n < SubframeSamples; n++) scaled[n] = Shl(response[n], shift);
}

Search::Search(const std::int16_t* response, const std::int16_t* wanted) {
    for (int p = 0; p < SubframeSamples; p++) {
        negative[p] = wanted[p] < 0;
        gain[p] = Abs(wanted[p]);
    }
    std::int16_t h[SubframeSamples];
    Normalise(response, h);
    for (int apart = 0; apart < SubframeSamples; apart++) {
        std::int32_t sum = 0;
        for (int n = 0; n + apart < SubframeSamples; n++) {
            sum = LMac(sum, h[n], h[n + apart]);
            const int q = SubframeSamples - 1 - n;
            correlations[q - apart][q] = correlations[q][q - apart] = Hi(sum);
        }
    }
}

// Of two different positions, with the signs of their pulses.
std::int16_t Search::Between(int p, int q) const {
    return Mult(correlations[p][q], negative[p] == negative[q] ? Max16 : Min16);
}

Found Search::FirstPair(int a, int b) const {
    Found best = {{}, {a, b}};
    int excluded = -1;
    for (int round = 0; round < 2; round++) {
        int p = -1;
        for (int i = a; i < SubframeSamples; i += Step) {
            if (i != excluded && (p < 0 || gain[i] > gain[p])) p = i;
        }
        excluded = p;
        for (int q = b; q < SubframeSamples; q += Step) {
            std::int32_t energy = LMult(correlations[p][p], 8192);
            energy = LMac(LMac(energy, Between(p, q), 16384), correlations[q][q], 8192);
            const std::int16_t sum = Add(gain[p], gain[q]);
            const Merit merit = {Mult(sum, sum), Round(energy)};
            if (merit.IsAbove(best.merit)) best = {merit, {p, q}, sum};
        }
    }
    return best;
}

void Search::SecondPair(Found& found, int firstTrack, int secondTrack) const {
    const Found first = found;
    const int a = first.at[0];
    const int b = first.at[1];
    std::int16_t toSecond[SubframeSamples];
    for (int k = secondTrack; k < SubframeSamples; k += Step) {
        const std::int32_t energy = LMac(LMult(Between(k, a), 8192), Between(k, b), 8192);
        toSecond[k] = Round(LMac(energy, correlations[k][k], 4096));
    }
    found = {{}, {a, b, firstTrack, secondTrack}};
    for (int m = firstTrack; m < SubframeSamples; m += Step) {
        const std::int16_t sum = Add(first.gain, gain[m]);
        std::int32_t energy = LMult(first.merit.energy, 8192);
        energy = LMac(LMac(energy, Between(m, a), 4096), Between(m, b), 4096);
        energy = LMac(energy, correlations[m][m], 2048);
        for (int k = secondTrack; k < SubframeSamples; k += Step) {
            const std::int16_t whole = Add(sum, gain[k]);
            const std::int32_t all = LMac(LMac(energy, Between(m, k), 4096), toSecond[k], 16384);
            const Merit merit = {Mult(whole, whole), Round(all)};
            if (merit.IsAbove(found.merit)) found = {merit, {a, b, m, k}, whole};
        }
    }
}

Found Search::Run(int a, int b, int m, int k) const {
    Found found = FirstPair(a, b);
    SecondPair(found, m, k);
    return found;
}

}  // namespace

void SearchPulses(const std::int16_t* response, const std::int16_t* wanted, int* positions) {
    const Search search(response, wanted);
    Merit best;
    for (int track = 0; track < 4; track++) positions[track] = track;
    for (const int last : {Tracks - 2, Tracks - 1}) {
        const Found low = search.Run(2, last, 0, 1);
        if (low.merit.IsAbove(best)) {
            best = low.merit;
            const int found[] = {low.at[2], low.at[3], low.at[0], low.at[1]};
            std::copy_n(found, 4, positions);
        }
        const Found high = search.Run(last, 0, 1, 2);
        if (high.merit.IsAbove(best)) {
            best = high.merit;
            const int found[] = {high.at[1], high.at[2], high.at[3], high.at[0]};
            std::copy_n(found, 4, positions);
        }
    }
}

}  // namespace g729::reference
