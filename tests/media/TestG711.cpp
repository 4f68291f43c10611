// G.711 against the decision values of the standard's tables 1 and 2, and against ffmpeg's decoders.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <string>
#include <vector>

#include "platform/media/G711.h"

namespace {

struct Law {
    const char* name;
    std::vector<int> steps;  // interval widths from 0 up, in runs of (count, width)
    int scale;               // a 16-bit value for one unit of the standard's tables
    UBYTE lineMask;          // exclusive-or between sign and value number, and the octet
    bool zeroOutput;         // the first decoder output value is 0 rather than the middle of its interval
};

// Table 1 (A-law) counts to 4096, table 2 (u-law) to 8159.
const std::array<Law, 2> Laws{{
    {"A-law", {32, 2, 16, 4, 16, 8, 16, 16, 16, 32, 16, 64, 16, 128}, 8, 0x55, false},
    {"u-law", {1, 1, 15, 2, 16, 4, 16, 8, 16, 16, 16, 32, 16, 64, 16, 128, 16, 256}, 4, 0x7F, true},
}};

std::vector<int> DecisionValues(const Law& law) {
    std::vector<int> values{0};
    for (size_t run = 0; run < law.steps.size(); run += 2) {
        for (int i = 0; i < law.steps[run]; i++) values.push_back(values.back() + law.steps[run + 1]);
    }
    return values;
}

void Expand(bool alaw, std::vector<UBYTE> codes, std::vector<std::int16_t>& linear) {
    linear.resize(codes.size());
    const int count = static_cast<int>(codes.size());
    if (alaw) AlawToLinear(codes.data(), linear.data(), count);
    if (!alaw) media::UlawToLinear(codes.data(), linear.data(), count);
}

std::vector<UBYTE> Compress(bool alaw, std::vector<std::int16_t> linear) {
    std::vector<UBYTE> codes(linear.size());
    const int count = static_cast<int>(linear.size());
    if (alaw) LinearToAlaw(linear.data(), codes.data(), count);
    if (!alaw) media::LinearToUlaw(linear.data(), codes.data(), count);
    return codes;
}

std::vector<UBYTE> AllCodes() {
    std::vector<UBYTE> codes(256);
    std::iota(codes.begin(), codes.end(), UBYTE{0});
    return codes;
}

TEST(TestG711, EveryCodeAndEveryLinearValueFollowTheStandardsTables) {
    for (const Law& law : Laws) {
        SCOPED_TRACE(law.name);
        const bool alaw = &law == Laws.data();
        const std::vector<int> decisions = DecisionValues(law);
        ASSERT_EQ(decisions.size(), 129U);

        std::vector<std::int16_t> expanded;
        Expand(alaw, AllCodes(), expanded);
        for (int number = 0; number < 128; number++) {
            const auto at = static_cast<size_t>(number);
            const int output =
                number == 0 && law.zeroOutput ? 0 : (decisions[at] + decisions[at + 1]) * law.scale / 2;
            ASSERT_EQ(expanded[static_cast<size_t>((number | 0x80) ^ law.lineMask)], output) << number;
            ASSERT_EQ(expanded[static_cast<size_t>(number ^ law.lineMask)], -output) << number;
        }

        std::vector<std::int16_t> linear(65536);
        std::iota(linear.begin(), linear.end(), std::int16_t{-32768});
        const std::vector<UBYTE> codes = Compress(alaw, linear);
        int number = 0;
        for (int value = 0; value < 32768; value++) {
            while (number < 127 && value >= decisions[static_cast<size_t>(number) + 1] * law.scale) number++;
            ASSERT_EQ(codes[static_cast<size_t>(32768 + value)], (number | 0x80) ^ law.lineMask) << value;
            ASSERT_EQ(codes[static_cast<size_t>(32767 - value)], number ^ law.lineMask) << -1 - value;
        }
    }
}

// By the tables each way merges eight values of a sign at most, and every other comes back as it was.
TEST(TestG711, ConversionBetweenTheLawsKeepsAllButEightValues) {
    std::vector<UBYTE> ulaw = AllCodes();
    media::UlawToAlaw(ulaw.data(), 256);
    media::AlawToUlaw(ulaw.data(), 256);
    std::vector<UBYTE> alaw = AllCodes();
    media::AlawToUlaw(alaw.data(), 256);
    media::UlawToAlaw(alaw.data(), 256);
    std::vector<int> alteredUlaw;
    std::vector<int> alteredAlaw;
    for (int code = 128; code < 256; code++) {
        const int ulawValue = ~code & 0x7F;
        const int alawValue = (code ^ 0xD5) + 1;
        if (ulaw[static_cast<size_t>(code)] != code) alteredUlaw.push_back(ulawValue);
        if (alaw[static_cast<size_t>(code)] != code) alteredAlaw.push_back(alawValue);
        EXPECT_EQ(ulaw[static_cast<size_t>(code)] ^ 0x80, ulaw[static_cast<size_t>(code ^ 0x80)]);
        EXPECT_EQ(alaw[static_cast<size_t>(code)] ^ 0x80, alaw[static_cast<size_t>(code ^ 0x80)]);
    }
    std::sort(alteredUlaw.begin(), alteredUlaw.end());
    std::sort(alteredAlaw.begin(), alteredAlaw.end());
    EXPECT_EQ(alteredUlaw, (std::vector<int>{0, 2, 4, 6, 8, 10, 12, 14}));
    EXPECT_EQ(alteredAlaw, (std::vector<int>{26, 28, 30, 32, 45, 47, 63, 81}));
}

// Both laws' values of one sample differ by no more than the coarser of the two steps around it.
TEST(TestG711, ConversionBetweenTheLawsStaysWithinAStep) {
    std::vector<UBYTE> codes = AllCodes();
    std::vector<std::int16_t> before;
    std::vector<std::int16_t> after;
    Expand(false, codes, before);
    media::UlawToAlaw(codes.data(), 256);
    Expand(true, codes, after);
    for (size_t code = 0; code < 256; code++) {
        EXPECT_LE(std::abs(before[code] - after[code]), 8 + std::abs(before[code]) / 16) << code;
    }
}

std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(TestG711, DecodersAgreeWithFfmpeg) {
    if (system("ffmpeg -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "ffmpeg is not installed";
    char folder[] = "/tmp/kestrel-g711-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string base = folder;
    for (const char* format : {"alaw", "mulaw"}) {
        std::vector<UBYTE> codes = AllCodes();
        std::ofstream(base + "/codes", std::ios::binary).write(reinterpret_cast<char*>(codes.data()), 256);
        char command[200];
        std::snprintf(command, sizeof command,
                      "cd %s && ffmpeg -v error -y -f %s -ar 8000 -ac 1 -i codes -f s16le linear", folder,
                      format);
        ASSERT_EQ(system(command), 0);
        std::vector<std::int16_t> linear;
        Expand(std::string(format) == "alaw", codes, linear);
        EXPECT_EQ(Read(base + "/linear"), std::string(reinterpret_cast<char*>(linear.data()), 512)) << format;
    }
    EXPECT_EQ(system(("rm -r " + base).c_str()), 0);
}

}  // namespace
