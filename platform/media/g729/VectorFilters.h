// Four filters 1/A(z) in lockstep, one in each lane: all that a frame can begin with.
//
// Sums are taken as they come and are looked at afterwards: up to the sample at which something would have
// clipped all samples are right, and by their magnitudes it is certain whether anything would.
#pragma once

#include "platform/media/g729/Filters.h"
#include "platform/media/g729/FirstFilters.h"
#include "platform/media/g729/Vector128.h"

namespace g729 {

namespace {

namespace lockstep {

constexpr int Filters = 4;
constexpr int Rounding = 1 << 11;
constexpr int RoundingShift = 12;

// A number for each of the filters.
using Lanes [[gnu::vector_size(16)]] = std::int32_t;

G729_INLINE __m128i Raw(Lanes x) {
    return reinterpret_cast<__m128i>(x);
}
G729_INLINE Lanes Of(__m128i x) {
    return reinterpret_cast<Lanes>(x);
}
G729_INLINE Lanes Madd(Lanes x, Lanes y) {
    return Of(_mm_madd_epi16(Raw(x), Raw(y)));
}
G729_INLINE Lanes Max(Lanes x, Lanes y) {
    return Of(_mm_max_epi32(Raw(x), Raw(y)));
}
G729_INLINE Lanes Abs(Lanes x) {
    return Of(_mm_abs_epi32(Raw(x)));
}

// `late` in the lower half of a lane, `early` in the upper.
G729_INLINE Lanes Pair(Lanes late, Lanes early) {
    return Of(_mm_blend_epi16(Raw(late), _mm_slli_epi32(Raw(early), 16), 0b10101010));
}

class Run {
 public:
    G729_INLINE explicit Run(const FirstFilters& f)
        : x(f.x), all{f.driven[0], f.driven[1], f.responses[0], f.responses[1]} {}

    // False in the bits of filters for which it is not certain that nothing clips.
    G729_INLINE unsigned Filter() {
        Prepare();
        const Lanes isDriven = {-1, -1, 0, 0};
        constexpr int Block = 10;
        for (int n = 0; n < SubframeSamples; n += Block) {
#pragma GCC unroll 10
            for (int i = 0; i < Block; i++) {
                const Lanes input = (Lanes{} + 4096 * x[n + i]) & isDriven;
                Step(n + i, input + (n + i == 0 ? Lanes{0, 0, 4096 * 4096, 4096 * 4096} : Lanes{}));
            }
        }
        for (int n = 0; n < SubframeSamples; n += 8) Spread(n);
        return Certain();
    }

    const std::int16_t* x;
    FirstFilters::Filter all[Filters];

 private:
    G729_INLINE void Prepare() {
        for (int j = 0; j <= Order; j++) a[j] = Lanes{all[0].a[j], all[1].a[j], all[2].a[j], all[3].a[j]};
        a1 = a[1] & 0xFFFF;
        for (int k = 0; k < Pairs; k++) pairs[k] = Pair(a[2 + 2 * k], k + 1 < Pairs ? a[3 + 2 * k] : Lanes{});
        for (int j = 1; j <= Order; j++) past[j - 1] = Lanes{all[0].y[-j], all[1].y[-j], 0, 0};
        for (int j = 0; j < Order - 1; j++) pastPairs[j] = Pair(past[j], past[j + 1]);
        pastPairs[Order - 1] = past[Order - 1] & 0xFFFF;
        for (const Lanes y : past) peak = Max(peak, Abs(y));
    }

    G729_INLINE void Step(int n, Lanes input) {
        using Wrapping [[gnu::vector_size(sizeof(Lanes))]] = std::uint32_t;
        Wrapping sum = reinterpret_cast<Wrapping>(input) + Rounding;
        for (int k = 0; k < Pairs; k++)
            sum -= reinterpret_cast<Wrapping>(Madd(pairs[k], pastPairs[1 + 2 * k]));
        sum -= reinterpret_cast<Wrapping>(Madd(a1, past[0]));
        const Lanes y = reinterpret_cast<Lanes>(sum) >> RoundingShift;
        outputs[n] = y;
        peak = Max(peak, Abs(y));
        for (int j = Order - 1; j > 0; j--) pastPairs[j] = pastPairs[j - 1];
        pastPairs[0] = Pair(y, past[0]);
        past[0] = y;
    }

    // Eight samples of all filters to their outputs.
    G729_INLINE void Spread(int n) {
        const auto pack = [&](int i) {
            return _mm_packs_epi32(Raw(outputs[n + i]), Raw(outputs[n + i + 1]));
        };
        const auto fours = [](__m128i p, __m128i q, __m128i& low, __m128i& high) {
            const __m128i even = _mm_unpacklo_epi16(p, q);
            const __m128i odd = _mm_unpackhi_epi16(p, q);
            low = _mm_unpacklo_epi16(even, odd);
            high = _mm_unpackhi_epi16(even, odd);
        };
        __m128i first[2];
        __m128i second[2];
        fours(pack(0), pack(2), first[0], first[1]);
        fours(pack(4), pack(6), second[0], second[1]);
        for (int i = 0; i < 2; i++) {
            vector128::Store(all[2 * i].y + n, _mm_unpacklo_epi64(first[i], second[i]));
            vector128::Store(all[2 * i + 1].y + n, _mm_unpackhi_epi64(first[i], second[i]));
        }
    }

    // By the magnitudes of all factors of all sums.
    G729_INLINE unsigned Certain() const {
        constexpr float Limit = 1.07e9F;  // a little below 2^30; the standard doubles the sums
        Lanes coefficients = Abs(a[0]);
        for (int j = 1; j <= Order; j++) coefficients += Abs(a[j]);
        std::int32_t inputPeak = 4096;
        for (int n = 0; n < SubframeSamples; n++) {
            const std::int32_t magnitude = x[n] < 0 ? -x[n] : x[n];
            inputPeak = magnitude > inputPeak ? magnitude : inputPeak;
        }
        const Lanes largest = Max(peak, Lanes{} + inputPeak);
        const __m128 sums = _mm_mul_ps(_mm_cvtepi32_ps(Raw(coefficients)), _mm_cvtepi32_ps(Raw(largest)));
        const __m128i fits =
            _mm_and_si128(_mm_castps_si128(_mm_cmplt_ps(sums, _mm_set1_ps(Limit))), Raw(peak <= Max16));
        return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(fits)));
    }

    static constexpr int Pairs = Order / 2;  // of coefficients from the second on

    Lanes a[Coefficients];
    Lanes a1;
    Lanes pairs[Pairs];
    Lanes past[Order];       // outputs, newest first
    Lanes pastPairs[Order];  // the same in the lower halves, and in the upper the ones before
    Lanes peak = {};
    Lanes outputs[SubframeSamples];
};

}  // namespace lockstep

void RunFirstFilters(const FirstFilters& filters) {
    lockstep::Run run(filters);
    const unsigned certain = run.Filter();
    for (int i = 0; i < lockstep::Filters; i++) {
        if ((certain >> i & 1) != 0) continue;
        const bool isDriven = i < 2;
        std::int16_t room[Order + SubframeSamples] = {};
        if (isDriven) std::memcpy(room, run.all[i].y - Order, Order * sizeof *room);
        Synthesize(run.all[i].a, isDriven ? run.x : UnitImpulse, room + Order);
        std::memcpy(run.all[i].y, room + Order, SubframeSamples * sizeof *room);
    }
}

}  // namespace

}  // namespace g729
