// Input for kernels: unlike signals and filters, drawn in turn.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Sizes.h"

namespace g729::test {

class Signals {
 public:
    explicit Signals(unsigned seed) : random(seed) {}

    int Between(int low, int high) {
        const auto range = static_cast<std::uint64_t>(static_cast<std::int64_t>(high) - low) + 1;
        return static_cast<int>(low + static_cast<std::int64_t>(Wide() % range));
    }

    // Silence, noise from the faintest to the loudest, extremes alone, extremes with one sample off them, a
    // constant near a limit, single pulses, a slow wave.
    void Fill(std::int16_t* x, int count) {
        const int kind = Between(0, 7);
        const int loudness = Between(0, 15);
        const int limit = (Between(0, 1) ? Max16 : Min16) >> Between(0, 3);
        const int level = Between(0, 1) ? Between(Min16, Max16) : limit + Between(-5, 5);
        for (int n = 0; n < count; n++) x[n] = Sample(kind, loudness, level, n);
        if (kind == 4) x[Between(0, count - 1)] = Clip16(Between(Min16, Max16));
    }

    // Sounds that go on from call to call: tones, beats, clicks and pulses, squares, noise or silence, which
    // change now and then, from the faintest to clipping.
    void FillSound(std::int16_t* x, int count) {
        if (Between(0, 9) == 0) sound = {Between(0, 7), Between(1, 2000), Between(20, 200), Between(0, 15)};
        for (int n = 0; n < count; n++) {
            const double turn = M_PI * sound.pitch / 4000;
            const double noise = Between(Min16, Max16);
            const double tone = 40000 * std::sin(turn * phase);
            const bool isPulse = phase % sound.period == 0;
            const double values[] = {tone,
                                     tone / 2 + 16384 * std::sin(1.03 * turn * phase),
                                     isPulse ? noise : 0.0,
                                     isPulse ? 32767.0 : 0.0,
                                     tone < 0 ? -32768.0 : 32767.0,
                                     noise,
                                     0.0,
                                     tone / 8 + noise / 64};
            x[n] = Clip16(static_cast<int>(values[sound.kind]) >> sound.loudness);
            phase++;
        }
    }

    // Filters as of speech, of any stability, up to the extremes, and such whose terms cancel in the end.
    void FillFilter(std::int16_t* a) {
        const int kind = Between(0, 6);
        a[0] = 4096;
        for (int i = 1; i <= Order; i++) {
            const int speech = Between(-4096, 4096) * 3 / (i + 1);
            a[i] = Clip16(kind < 3    ? speech >> kind
                          : kind == 3 ? Between(-8192, 8192)
                                      : Between(Min16, Max16));
            if (kind == 5) a[i] = a[i] < 0 ? Min16 : Max16;
            if (kind == 6) a[i] = i <= Order / 2 ? Clip16(a[i] < 0 ? -a[i] : a[i]) : Negate(a[Order + 1 - i]);
        }
    }

 private:
    std::uint64_t Wide() { return static_cast<std::uint64_t>(random()) << 32 | random(); }

    std::int16_t Sample(int kind, int loudness, int level, int n) {
        switch (kind) {
            case 0:
            case 1:
            case 2:
                return static_cast<std::int16_t>(Between(Min16, Max16) >> loudness);
            case 3:
            case 4:
                return Between(0, 1) ? Clip16(level) : Clip16(-level);
            case 5:
                return Clip16(level);
            case 6:
                return Clip16(Between(0, 30) ? 0 : level);
            default:
                return static_cast<std::int16_t>((n * 900 % 65536 - 32768) >> loudness);
        }
    }

    struct Sound {
        int kind = 0;
        int pitch = 1000;  // in units of 1 Hz
        int period = 80;
        int loudness = 0;
    };

    std::mt19937 random;
    Sound sound;
    int phase = 0;
};

}  // namespace g729::test
