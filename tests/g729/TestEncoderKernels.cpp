// Every kernel of every level against the arithmetic of the standard, step by step: on noise of all
// loudnesses, on extremes, and around the limits at which sums begin to clip. Outputs are poisoned
// beforehand, so that a value that is not written, or one beside the output that is, makes a difference.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/media/g729/BasicOps.h"
#include "platform/media/g729/Filters.h"
#include "platform/media/g729/FirstFilters.h"
#include "platform/media/g729/Levinson.h"
#include "platform/media/g729/ReferenceKernels.h"
#include "tests/g729/AllLevels.h"
#include "tests/g729/Signals.h"

namespace g729::test {
namespace {

constexpr int Rounds = 4000;
constexpr int Window = 240;

using Signal = std::array<std::int16_t, Window>;
using Subframe = std::array<std::int16_t, SubframeSamples>;

class TestEncoderKernels : public ::testing::TestWithParam<Level> {
 protected:
    template <std::size_t Size>
    std::array<std::int16_t, Size> Random() {
        std::array<std::int16_t, Size> x;
        signals.Fill(x.data(), static_cast<int>(Size));
        return x;
    }

    int Between(int low, int high) { return signals.Between(low, high); }

    const EncoderKernels& kernels = EncoderKernelsFor(GetParam());
    Signals signals{729};
};

INSTANTIATE_TEST_SUITE_P(AtEachLevel, TestEncoderKernels, ::testing::ValuesIn(AvailableLevels()),
                         NameOfLevel);

// What both write to poisoned memory of `Size` values and some more has to be the same.
template <std::size_t Size, typename Value, typename Kernel, typename Reference>
void Compare(Kernel kernel, Reference reference, int round) {
    constexpr std::size_t Guard = 16;
    std::array<Value, Size + Guard> mine;
    mine.fill(static_cast<Value>(0x5A5A));
    std::array<Value, Size + Guard> expected = mine;
    kernel(mine.data());
    reference(expected.data());
    ASSERT_EQ(mine, expected) << "round " << round;
}

// The stages that are the same at every level.
TEST(TestEncoderStages, PreProcessAndItsMemory) {
    Signals signals(729);
    int clips = 0;
    for (int i = 0; i < Rounds; i++) {
        std::array<std::int16_t, FrameSamples> x;
        signals.Fill(x.data(), FrameSamples);
        const int reach = i % 3 ? 0x1000000 : Max32;
        PreProcessMemory mine = {signals.Between(-reach, reach) & ~15, signals.Between(-reach, reach) & ~15,
                                 x[3], x[4]};
        if (i % 5 == 0) mine.y1 = Max32;
        PreProcessMemory expected = mine;
        std::array<std::int16_t, FrameSamples + 8> output;
        output.fill(0x5A5A);
        auto wanted = output;
        PreProcess(mine, x.data(), output.data());
        reference::PreProcess(expected, x.data(), wanted.data());
        ASSERT_EQ(output, wanted) << i;
        ASSERT_EQ(mine.y1, expected.y1) << i;
        ASSERT_EQ(mine.y2, expected.y2) << i;
        ASSERT_EQ(mine.x1, expected.x1) << i;
        ASSERT_EQ(mine.x2, expected.x2) << i;
        for (const std::int16_t sample : wanted) clips += sample == Max16 || sample == Min16;
    }
    EXPECT_GT(clips, Rounds);
}

// Autocorrelations of sounds, windowed and not, up to those of pure tones, whose filters are refused or all
// but clip.
TEST(TestEncoderStages, Levinson) {
    Signals signals(729);
    for (int i = 0; i < 5 * Rounds; i++) {
        Signal x;
        if (i % 3) {
            signals.FillSound(x.data(), Window);
        } else {
            signals.Fill(x.data(), Window);
        }
        std::int32_t sums[Coefficients];
        reference::Autocorrelate(x.data(), sums);
        const int norm = NormL(sums[0]);
        Dpf r[Coefficients];
        for (int k = 0; k < Coefficients; k++) r[k] = Extract(sums[k] << norm);
        std::array<std::int16_t, Coefficients + 4> mine;
        mine.fill(0x5A5A);
        auto expected = mine;
        Levinson(r, mine.data());
        reference::Levinson(r, expected.data());
        ASSERT_EQ(mine, expected) << i;
    }
}

TEST_P(TestEncoderKernels, RunFirstFilters) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        std::array<std::array<std::int16_t, Coefficients>, 4> a;
        for (auto& filter : a) signals.FillFilter(filter.data());
        const Subframe x = Random<SubframeSamples>();
        constexpr std::size_t Each = Order + SubframeSamples;
        const auto memory = Random<2 * Order>();
        const auto run = [&](void (*kernel)(const FirstFilters&), std::int16_t* y) {
            std::copy_n(memory.data(), Order, y);
            std::copy_n(memory.data() + Order, Order, y + Each);
            kernel({x.data(),
                    {{a[0].data(), y + Order}, {a[1].data(), y + Each + Order}},
                    {{a[2].data(), y + 2 * Each + Order}, {a[3].data(), y + 3 * Each + Order}}});
        };
        Compare<4 * Each, std::int16_t>([&](std::int16_t* y) { run(kernels.runFirstFilters, y); },
                                        [&](std::int16_t* y) { run(RunEach<Synthesize>, y); }, i);
    }
}

TEST_P(TestEncoderKernels, Autocorrelate) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Signal x = Random<Window>();
        Compare<Coefficients, std::int32_t>(
            [&](std::int32_t* sums) { kernels.autocorrelate(x.data(), sums); },
            [&](std::int32_t* sums) { reference::Autocorrelate(x.data(), sums); }, i);
    }
}

// Line spectra of any distance, as they give the roots, and coefficients that no filter has.
TEST_P(TestEncoderKernels, FindRoots) {
    int all = 0;
    for (int i = 0; i < 10 * Rounds && !HasFatalFailure(); i++) {
        RootPolynomials p;
        p.coarse = Between(0, 1) != 0;
        const int reach = 1 << Between(8, 16);
        for (std::int16_t* f : {p.sum, p.difference}) {
            double product[RootPolynomials::Degree + 1] = {1};
            for (int k = 0; k < RootPolynomials::Degree; k++) {
                const double q = 2 * std::cos(Between(0, 3141) * 0.001);
                for (int j = k + 1; j > 0; j--) {
                    product[j] += (j > 1 ? product[j - 2] : 0) - q * product[j - 1];
                }
            }
            for (int k = 0; k <= RootPolynomials::Degree; k++) {
                const double scaled = product[k] * (p.coarse ? 1024 : 2048);
                f[k] = Clip16(i % 4 ? static_cast<int>(scaled) : Between(-reach, reach));
            }
        }
        // Of the ten places only those count that were found.
        const auto find = [&](int (*kernel)(const RootPolynomials&, std::int16_t*), std::int16_t* found) {
            const int count = kernel(p, found);
            std::fill(found + count, found + Order, std::int16_t{0});
            found[Order] = Lo(count);
            return count;
        };
        Compare<Order + 1, std::int16_t>(
            [&](std::int16_t* found) { find(kernels.findRoots, found); },
            [&](std::int16_t* found) { all += find(reference::FindRoots, found); }, i);
    }
    EXPECT_GT(all, 10 * Rounds);
}

TEST_P(TestEncoderKernels, SearchLsp) {
    for (int i = 0; i < 4 * Rounds; i++) {
        auto target = Random<Order>();
        for (std::size_t j = 0; j < Order && i % 2; j++) {
            target[j] = Clip16(2400 * (static_cast<int>(j) + 1) + Between(-1500, 1500));
        }
        auto weights = Random<Order>();
        for (std::int16_t& weight : weights) weight = Abs(weight);
        LspIndices mine{1, 200, 99, 99};
        LspIndices expected = mine;
        kernels.searchLsp(target.data(), weights.data(), mine);
        reference::SearchLsp(target.data(), weights.data(), expected);
        ASSERT_EQ(std::memcmp(&mine, &expected, sizeof mine), 0) << i;
    }
}

TEST_P(TestEncoderKernels, CorrelateLags) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        auto x = Random<MaxLag + FrameSamples>();
        if (i % 3 == 0) signals.FillSound(x.data(), static_cast<int>(x.size()));
        Compare<3 * LagSections, std::int32_t>(
            [&](std::int32_t* found) {
                LagCorrelation sections[LagSections];
                kernels.correlateLags(x.data() + MaxLag, sections);
                std::memcpy(found, sections, sizeof sections);
            },
            [&](std::int32_t* found) {
                LagCorrelation sections[LagSections];
                reference::CorrelateLags(x.data() + MaxLag, sections);
                std::memcpy(found, sections, sizeof sections);
            },
            i);
    }
}

TEST_P(TestEncoderKernels, ProductAndItsClipping) {
    int clips = 0;
    for (int i = 0; i < 4 * Rounds; i++) {
        const Subframe x = Random<SubframeSamples>();
        const Subframe y = i % 3 ? Random<SubframeSamples>() : x;
        const int start = Between(0, 1);
        bool mine = i % 5 == 0;
        bool expected = mine;
        const std::int32_t sum = kernels.product(x.data(), y.data(), start, mine);
        ASSERT_EQ(sum, reference::Product(x.data(), y.data(), start, expected)) << i;
        ASSERT_EQ(mine, expected) << i;
        clips += expected && i % 5;
    }
    EXPECT_GT(clips, Rounds / 10);
}

TEST_P(TestEncoderKernels, FilterBackward) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Subframe response = Random<SubframeSamples>();
        const Subframe x = Random<SubframeSamples>();
        Compare<SubframeSamples, std::int16_t>(
            [&](std::int16_t* y) { kernels.filterBackward(response.data(), x.data(), y); },
            [&](std::int16_t* y) { reference::FilterBackward(response.data(), x.data(), y); }, i);
    }
}

TEST_P(TestEncoderKernels, BestLag) {
    for (int i = 0; i < Rounds; i++) {
        auto wanted = Random<SubframeSamples>();
        for (std::int16_t& x : wanted) x = static_cast<std::int16_t>(x >> 2);
        const auto excitation = Random<MaxLag + SubframeSamples>();
        const int width = Between(0, 1) ? 6 : 9;
        const int min = Between(MinLag, MaxLag - width);
        const std::int16_t* current = excitation.data() + MaxLag;
        EXPECT_EQ(kernels.bestLag(wanted.data(), current, min, min + width),
                  reference::BestLag(wanted.data(), current, min, min + width))
            << i;
    }
}

TEST_P(TestEncoderKernels, SearchPulses) {
    for (int i = 0; i < 4 * Rounds && !HasFatalFailure(); i++) {
        auto response = Random<SubframeSamples>();
        if (i % 4) {
            for (int n = 0; n < SubframeSamples; n++) response[static_cast<std::size_t>(n)] >>= (n + 2) / 3;
        }
        auto wanted = Random<SubframeSamples>();
        for (std::int16_t& x : wanted) x = static_cast<std::int16_t>(x >> (i % 3 + 2));
        Compare<4, int>([&](int* at) { kernels.searchPulses(response.data(), wanted.data(), at); },
                        [&](int* at) { reference::SearchPulses(response.data(), wanted.data(), at); }, i);
    }
}

TEST_P(TestEncoderKernels, RemoveScaledAndRespondToPulses) {
    for (int i = 0; i < Rounds && !HasFatalFailure(); i++) {
        const Subframe x = Random<SubframeSamples>();
        const Subframe y = Random<SubframeSamples>();
        const auto gain = static_cast<std::int16_t>(Between(0, i % 4 ? 19661 : Max16));
        Compare<SubframeSamples, std::int16_t>(
            [&](std::int16_t* rest) { kernels.removeScaled(x.data(), y.data(), gain, rest); },
            [&](std::int16_t* rest) { reference::RemoveScaled(x.data(), y.data(), gain, rest); }, i);
        const int at[] = {Between(0, 39), Between(0, 39), Between(0, 39), Between(0, 39)};
        const auto signs = static_cast<unsigned>(Between(0, 15));
        Compare<SubframeSamples, std::int16_t>(
            [&](std::int16_t* sum) { kernels.respondToPulses(x.data(), at, signs, sum); },
            [&](std::int16_t* sum) { reference::RespondToPulses(x.data(), at, signs, sum); }, i);
    }
}

TEST_P(TestEncoderKernels, SearchGains) {
    for (int i = 0; i < 10 * Rounds; i++) {
        GainSearch search;
        for (Dpf& term : search.terms) term = Extract(Between(Min32, Max32) >> Between(0, 12));
        search.first1 = Between(0, 4);
        search.first2 = Between(0, 8);
        search.predicted = Clip16(Between(i % 10 ? 0 : Min16, Max16));
        search.tamed = Between(0, 1) != 0;
        const GainChoice mine = kernels.searchGains(search);
        const GainChoice expected = reference::SearchGains(search);
        EXPECT_EQ(mine.entry1, expected.entry1) << i;
        EXPECT_EQ(mine.entry2, expected.entry2) << i;
    }
}

}  // namespace
}  // namespace g729::test
