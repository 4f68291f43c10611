// Every kernel of every level against plain saturating arithmetic: on noise of all loudnesses, on extremes,
// and around the limits at which sums begin to clip. Both work on copies of one buffer that also holds their
// surroundings, so that a sample written beside the output is a difference too.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "platform/media/g729/AdaptiveCodebook.h"
#include "platform/media/g729/DecoderKernels.h"
#include "platform/media/g729/Filters.h"
#include "platform/media/g729/Lsp.h"
#include "platform/media/g729/PostFilterKernels.h"
#include "platform/media/g729/Tables.h"
#include "tests/g729/AllLevels.h"
#include "tests/g729/Signals.h"
#include "tests/g729/Vectors.h"

namespace g729::test {
namespace {

constexpr int Rounds = 4000;
constexpr int Past = 160;  // samples before the output, as many as any kernel reads
constexpr int Guard = 40;

using Buffer = std::array<std::int16_t, Past + FrameSamples + Guard>;
using Filter = std::array<std::int16_t, Coefficients>;

// Every operation as the standard has it, one after the other.
const DecoderKernels Reference = {
    .residual = Residual,
    .synthesize = Synthesize,
    .interpolateLag = InterpolateLag,
    .mixExcitation = MixExcitation,
    .subframeCoefficients = SubframeCoefficients,
    .matchPeriod = MatchPeriod,
    .addPeriod = AddPeriod,
    .compensateTilt = CompensateTilt,
    .energy = Energy,
    .amplify = Amplify,
    .highPass = HighPass,
    .synthesizeAndRespond =
        [](const Synthesis& speech, const PostFilterShape (&shapes)[Subframes],
           ResponseEnergy (&energies)[Subframes]) {
            for (int i = 0; i < Subframes; i++) energies[i] = Respond(shapes[i]);
            return Synthesize(speech.a, speech.x, speech.y);
        },
    .synthesizePair =
        [](const Synthesis& first, const Synthesis& second) {
            Synthesize(second.a, second.x, second.y);
            return Synthesize(first.a, first.x, first.y);
        },
    .synthesizeAndRamp =
        [](const Synthesis& synthesis, GainRamp& ramp) {
            Synthesize(synthesis.a, synthesis.x, synthesis.y);
            FollowRamp(ramp);
        },
    .highPassAndRamp =
        [](HighPassMemory& memory, const std::int16_t* x, std::int16_t* y, GainRamp& ramp) {
            HighPass(memory, x, y);
            FollowRamp(ramp);
        },
};

class TestDecoderKernels : public ::testing::TestWithParam<Level> {
 protected:
    // Fills the past and poisons the rest.
    Buffer History() {
        Buffer buffer;
        buffer.fill(0x5A5A);
        signals.Fill(buffer.data(), Past);
        return buffer;
    }

    Buffer Signal() {
        Buffer buffer;
        signals.Fill(buffer.data(), static_cast<int>(buffer.size()));
        return buffer;
    }

    Filter RandomFilter() {
        Filter a;
        signals.FillFilter(a.data());
        return a;
    }

    // Runs `use` with the kernels of this level and with the reference on a copy each of `buffer`.
    template <typename Use>
    void Compare(const Buffer& buffer, Use use, int round) {
        Buffer mine = buffer;
        Buffer reference = buffer;
        const auto expected = use(Reference, reference.data() + Past);
        const auto result = use(DecoderKernelsFor(GetParam()), mine.data() + Past);
        ASSERT_EQ(result, expected) << "round " << round;
        ASSERT_EQ(mine, reference) << "round " << round << '\n' << Shown(mine) << '\n' << Shown(reference);
    }

    int Between(int low, int high) { return signals.Between(low, high); }

    Signals signals{729};
};

INSTANTIATE_TEST_SUITE_P(AtEachLevel, TestDecoderKernels, ::testing::ValuesIn(AvailableLevels()),
                         NameOfLevel);

TEST_P(TestDecoderKernels, Residual) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Buffer x = Signal();
        const Filter a = RandomFilter();
        Compare(
            History(),
            [&](const DecoderKernels& kernels, std::int16_t* y) {
                kernels.residual(a.data(), x.data() + Past, y);
                return 0;
            },
            i);
    }
}

TEST_P(TestDecoderKernels, SynthesizeAndItsOverflow) {
    int clipped = 0;
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Buffer x = Signal();
        const Filter a = RandomFilter();
        Compare(
            History(),
            [&](const DecoderKernels& kernels, std::int16_t* y) {
                const bool isClipped = kernels.synthesize(a.data(), x.data() + Past, y);
                clipped += isClipped;
                return isClipped;
            },
            i);
    }
    EXPECT_GT(clipped, Rounds / 20);
    EXPECT_LT(clipped, 2 * Rounds * 19 / 20);
}

// A sum beyond the lowest sample clips even where rounding brings it back.
TEST_P(TestDecoderKernels, SynthesisAroundTheLimitsByFractionsOfASample) {
    for (const std::int16_t extreme : {Min16, Max16}) {
        Buffer x{};
        x[Past + 3] = extreme;
        Buffer history{};
        history[Past - 1] = 1;
        for (int fraction = -0x1000; fraction <= 0x1000 && !HasFatalFailure(); fraction += 0x80) {
            const Filter direct{0x1000, 0, 0, 0, static_cast<std::int16_t>(fraction)};
            Compare(
                history,
                [&](const DecoderKernels& kernels, std::int16_t* y) {
                    return kernels.synthesize(direct.data(), x.data() + Past, y);
                },
                fraction);
        }
    }
}

TEST_P(TestDecoderKernels, SynthesizeAndRespond) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Buffer x = Signal();
        const Filter a = RandomFilter();
        PostFilterShape shapes[Subframes] = {};
        for (PostFilterShape& shape : shapes) {
            signals.FillFilter(shape.numerator);
            signals.FillFilter(shape.denominator);
        }
        Compare(
            History(),
            [&](const DecoderKernels& kernels, std::int16_t* y) {
                ResponseEnergy energies[Subframes];
                const bool isClipped =
                    kernels.synthesizeAndRespond({a.data(), x.data() + Past, y}, shapes, energies);
                return std::array<int, 5>{isClipped, energies[0].same, energies[0].next, energies[1].same,
                                          energies[1].next};
            },
            i);
    }
}

TEST_P(TestDecoderKernels, SynthesizePair) {
    constexpr int Second = 60;  // where its output is
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Buffer x = Signal();
        const Filter filters[] = {RandomFilter(), RandomFilter()};
        Buffer buffer = History();
        signals.Fill(buffer.data() + Past + Second - Order, Order);
        Compare(
            buffer,
            [&](const DecoderKernels& kernels, std::int16_t* y) {
                return kernels.synthesizePair({filters[0].data(), x.data() + Past, y},
                                              {filters[1].data(), x.data() + Past + 40, y + Second});
            },
            i);
    }
}

TEST_P(TestDecoderKernels, InterpolateLagAtEveryLagAndFraction) {
    for (int i = 0; i < 10 && !HasFatalFailure(); i++) {
        for (int lag = 19; lag <= 144; lag++) {
            for (const int fraction : {-1, 0, 1}) {
                Compare(
                    History(),
                    [&](const DecoderKernels& kernels, std::int16_t* excitation) {
                        kernels.interpolateLag(excitation, lag, fraction);
                        return 0;
                    },
                    i);
            }
        }
    }
}

// The terms of one sample, in the order in which they are summed, first all add and then all subtract.
TEST_P(TestDecoderKernels, InterpolateLagWhereSumsClipOnTheWay) {
    constexpr int Lag = 80;
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        Buffer buffer = History();
        const int fraction = Between(-1, 1);
        const int phase = fraction > 0 ? 3 - fraction : -fraction;
        const int centre = Past + Between(0, SubframeSamples - 1) - Lag - (fraction > 0 ? 1 : 0);
        const int level = Between(10000, Max16);
        const int turn = Between(1, 2 * LagTaps);
        for (int term = 0; term < 2 * LagTaps; term++) {
            const bool isBehind = term % 2 == 1;
            const int k = term / 2;
            const int tap = LagInterpolation[(isBehind ? 3 - phase : phase) + 3 * k];
            const int sign = (tap < 0) == (term < turn) ? -1 : 1;
            buffer[static_cast<std::size_t>(isBehind ? centre + 1 + k : centre - k)] = Clip16(sign * level);
        }
        Compare(
            buffer,
            [&](const DecoderKernels& kernels, std::int16_t* excitation) {
                kernels.interpolateLag(excitation, Lag, fraction);
                return 0;
            },
            i);
    }
}

TEST_P(TestDecoderKernels, MixExcitation) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Buffer code = Signal();
        const auto pitchGain = static_cast<std::int16_t>(Between(0, i % 2 ? Max16 : 100));
        const auto codeGain = static_cast<std::int16_t>(Between(i % 3 ? 0 : Max16, Max16));
        Compare(
            Signal(),
            [&](const DecoderKernels& kernels, std::int16_t* excitation) {
                kernels.mixExcitation(excitation, code.data() + Past, pitchGain, codeGain);
                return 0;
            },
            i);
    }
}

// Pairs as of speech, crowded at one end, and in no order.
TEST_P(TestDecoderKernels, SubframeCoefficients) {
    for (int i = 0; i < 10 * Rounds && !HasFatalFailure(); i++) {
        const int spread = i % 3 ? 32768 >> Between(0, 6) : 65535;
        const int top = Between(Min16 + spread > Max16 ? Max16 : Min16 + spread, Max16);
        std::int16_t lsp[2][Order];
        for (auto& frame : lsp) {
            for (std::int16_t& value : frame) value = static_cast<std::int16_t>(Between(top - spread, top));
            if (i % 4) std::sort(std::begin(frame), std::end(frame), std::greater<>());
        }
        Compare(
            Buffer{},
            [&](const DecoderKernels& kernels, std::int16_t* y) {
                auto& a = *reinterpret_cast<std::int16_t(*)[Subframes][Coefficients]>(y);
                kernels.subframeCoefficients(lsp[0], lsp[1], a);
                return 0;
            },
            i);
    }
}

TEST_P(TestDecoderKernels, MatchPeriodAndEnergies) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const int first = Between(16, 137);
        Compare(
            Signal(),
            [&](const DecoderKernels& kernels, std::int16_t* x) {
                const PeriodMatch match = kernels.matchPeriod(x, first);
                return std::array{match.lag, match.correlation, match.energy, match.ownEnergy,
                                  kernels.energy(x)};
            },
            i);
    }
}

TEST_P(TestDecoderKernels, LongTermAndTilt) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Buffer x = Signal();
        const int lag = Between(16, 143);
        const auto gain = static_cast<std::int16_t>(Between(0, Max16));
        const auto pastGain = static_cast<std::int16_t>(i % 4 ? Between(0, Max16) : 0);
        Compare(
            History(),
            [&](const DecoderKernels& kernels, std::int16_t* y) {
                kernels.addPeriod(x.data() + Past, lag, gain, pastGain, y);
                kernels.compensateTilt(x.data() + Past, gain, y + SubframeSamples);
                return 0;
            },
            i);
    }
}

TEST_P(TestDecoderKernels, GainRampBesideAFilter) {
    constexpr int Second = 60;  // where the filter's output is
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Buffer x = Signal();
        const Filter a = RandomFilter();
        GainRamp before;
        before.gain = static_cast<std::int16_t>(Between(0, Max16));
        before.step = static_cast<std::int16_t>(i % 3 ? Between(0, 3275) : 3275);
        Buffer buffer = History();
        signals.Fill(buffer.data() + Past + Second - Order, Order);
        Compare(
            buffer,
            [&](const DecoderKernels& kernels, std::int16_t* y) {
                GainRamp ramp = before;
                kernels.synthesizeAndRamp({a.data(), x.data() + Past, y + Second}, ramp);
                kernels.amplify(x.data() + Past, ramp.gains, y);
                return ramp.gain;
            },
            i);
    }
}

TEST_P(TestDecoderKernels, HighPassAloneAndBesideAGainRamp) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Buffer x = Signal();
        const int reach = i % 4 ? 0x1000000 : Max32;
        const int whole = i % 3 ? ~7 : ~0;  // nothing but clipping leaves the lowest bits
        const HighPassMemory before{{Between(-reach, reach) & whole, Between(-reach, reach) & whole}};
        Compare(
            History(),
            [&](const DecoderKernels& kernels, std::int16_t* y) {
                HighPassMemory memory = before;
                GainRamp ramp;
                ramp.step = static_cast<std::int16_t>(i % 3276);
                kernels.highPass(memory, x.data() + Past, y);
                kernels.highPassAndRamp(memory, x.data() + Past + 30, y + SubframeSamples, ramp);
                kernels.amplify(y, ramp.gains, y);
                return std::array<std::int32_t, 3>{memory.y[0], memory.y[1], ramp.gain};
            },
            i);
    }
}

}  // namespace
}  // namespace g729::test
