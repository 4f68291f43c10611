// Recursions of the decoder in lockstep: where one waits for its last output, the others go on.
#pragma once

#include "platform/media/g729/X86Filters.h"
#include "platform/media/g729/X86PostFilter.h"
#include "platform/media/g729/X86Response.h"
#include "platform/media/g729/X86Vectors.h"

namespace g729::x86 {

namespace {

// A run of the output high-pass around its recursion.
class HighPassRun {
 public:
    [[gnu::always_inline]] inline HighPassRun(HighPassMemory& memory, const std::int16_t* x, std::int16_t* y)
        : memory(memory), x(x), y(y) {
        static_assert(OutputHighPassB[1] == -2 * OutputHighPassB[0] &&
                      OutputHighPassB[2] == OutputHighPassB[0]);
        const __m256i factor = _mm256_set1_epi32(OutputHighPassB[0]);
        for (int n = 0; n < SubframeSamples; n += 8) {
            const __m256i middle = _mm256_cvtepi16_epi32(Load8(x + n - 1));
            const __m256i outer = _mm256_add_epi32(_mm256_cvtepi16_epi32(Load8(x + n)),
                                                   _mm256_cvtepi16_epi32(Load8(x + n - 2)));
            const __m256i bend = _mm256_sub_epi32(outer, _mm256_slli_epi32(middle, 1));
            Store(inputs + n, _mm256_mullo_epi32(bend, factor));
        }
    }

    [[gnu::always_inline]] inline HighPassRecursion Start() { return {inputs, outputs, memory}; }

    [[gnu::always_inline]] inline void Finish() {
        const __m256i rounding = _mm256_set1_epi32(0x800);
        const __m256i limit = _mm256_set1_epi32(1 << 28);  // eight times as much is clipped
        __m256i reached = _mm256_set1_epi32((memory.y[0] | memory.y[1]) & 7 ? -1 : 0);
        for (int n = 0; n < SubframeSamples; n += 8) {
            const __m256i half = Load8(outputs + n);
            reached = _mm256_or_si256(reached, _mm256_add_epi32(half, limit));
            const __m256i output = _mm256_srai_epi32(_mm256_add_epi32(half, rounding), 12);
            Store(y + n,
                  _mm_packs_epi32(_mm256_castsi256_si128(output), _mm256_extracti128_si256(output, 1)));
        }
        if (!_mm256_testz_si256(reached, _mm256_set1_epi32(-1 << 29))) return g729::HighPass(memory, x, y);
        memory = {{outputs[SubframeSamples - 1] * 8, outputs[SubframeSamples - 2] * 8}};
    }

 private:
    HighPassMemory& memory;
    const std::int16_t* x;
    std::int16_t* y;
    alignas(32) std::int32_t inputs[SubframeSamples];
    alignas(32) std::int32_t outputs[SubframeSamples];
};

G729_VECTOR void HighPass(HighPassMemory& memory, const std::int16_t* x, std::int16_t* y) {
    HighPassRun run(memory, x, y);
    HighPassRecursion recursion = run.Start();
    RunTogether(0, SubframeSamples, recursion);
    run.Finish();
}

// A run of `synthesize` around its recursion.
class SynthesisRun {
 public:
    [[gnu::always_inline]] inline explicit SynthesisRun(const Synthesis& task) : task(task) {}

    [[gnu::always_inline]] inline Recursion Start() {
        return {room, task.a, task.x, task.y - Order, SubframeSamples};
    }

    // Returns whether anything clipped.
    [[gnu::always_inline]] inline bool Finish() {
        if (x86::Finish(room, task.a, task.x, task.y - Order, SubframeSamples, task.y)) return false;
        return g729::Synthesize(task.a, task.x, task.y);
    }

 private:
    const Synthesis task;
    Recursion::Room room;
};

G729_VECTOR bool SynthesizeAndRespond(const Synthesis& speech, const PostFilterShape (&shapes)[Subframes],
                                      ResponseEnergy (&energies)[Subframes]) {
    SynthesisRun run(speech);
    ResponseRecursion responses(shapes);
    Recursion recursion = run.Start();
    RunTogether(0, ResponseRecursion::Steps, recursion, responses);
    RunTogether(ResponseRecursion::Steps, SubframeSamples, recursion);
    responses.Finish(energies);
    return run.Finish();
}

G729_VECTOR bool SynthesizePair(const Synthesis& first, const Synthesis& second) {
    SynthesisRun firstRun(first);
    SynthesisRun secondRun(second);
    Recursion firstRecursion = firstRun.Start();
    Recursion secondRecursion = secondRun.Start();
    RunTogether(0, SubframeSamples, firstRecursion, secondRecursion);
    secondRun.Finish();
    return firstRun.Finish();
}

G729_VECTOR void SynthesizeAndRamp(const Synthesis& synthesis, GainRamp& ramp) {
    SynthesisRun run(synthesis);
    Recursion recursion = run.Start();
    RampRecursion gains(ramp);
    RunTogether(0, SubframeSamples, recursion, gains);
    ramp.gain = gains.Last();
    run.Finish();
}

G729_VECTOR void HighPassAndRamp(HighPassMemory& memory, const std::int16_t* x, std::int16_t* y,
                                 GainRamp& ramp) {
    HighPassRun run(memory, x, y);
    HighPassRecursion recursion = run.Start();
    RampRecursion gains(ramp);
    RunTogether(0, SubframeSamples, recursion, gains);
    ramp.gain = gains.Last();
    run.Finish();
}

}  // namespace

}  // namespace g729::x86
