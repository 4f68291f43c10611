// The Unicode conversions: well-formed text both ways, ill-formed text in each form, and ends that fall
// anywhere.
#include <gtest/gtest.h>
#include <iconv.h>

#include <bit>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "common/ConvertUTF.h"

namespace {

using Bytes = std::vector<UTF8>;
using Units = std::vector<UTF16>;
using Points = std::vector<UTF32>;

template <class Target>
struct Outcome {
    ConversionResult result;
    Target target;         // what was written
    std::size_t consumed;  // units of the source
};

// Runs one conversion into a target of `room` units, of which the ones beyond the written must stay
// untouched.
template <class Target, class Source, class Function>
Outcome<Target> Convert(Function convert, const Source& source, ConversionFlags flags,
                        std::size_t room = 32) {
    using Unit = typename Target::value_type;
    constexpr Unit Poison = static_cast<Unit>(0xA5A5A5A5);
    Target target(room + 1, Poison);
    const auto* from = source.data();
    auto* to = target.data();
    const ConversionResult result =
        convert(&from, source.data() + source.size(), &to, target.data() + room, flags);
    const auto written = static_cast<std::size_t>(to - target.data());
    EXPECT_LE(written, room);
    EXPECT_EQ(target[room], Poison);
    target.resize(written);
    return {result, target, static_cast<std::size_t>(from - source.data())};
}

TEST(ConvertUTF, CarriesWellFormedTextBetweenAllForms) {
    struct Row {
        Points points;
        Units units;
        Bytes bytes;
    };
    const Row rows[] = {
        {{}, {}, {}},
        {{0x00}, {0x00}, {0x00}},
        {{0x7F}, {0x7F}, {0x7F}},
        {{0x80}, {0x80}, {0xC2, 0x80}},
        {{0x7FF}, {0x7FF}, {0xDF, 0xBF}},
        {{0x800}, {0x800}, {0xE0, 0xA0, 0x80}},
        {{0xD7FF, 0xE000}, {0xD7FF, 0xE000}, {0xED, 0x9F, 0xBF, 0xEE, 0x80, 0x80}},
        {{0xFFFF}, {0xFFFF}, {0xEF, 0xBF, 0xBF}},
        {{0x10000}, {0xD800, 0xDC00}, {0xF0, 0x90, 0x80, 0x80}},
        {{0x1F600, 0x41}, {0xD83D, 0xDE00, 0x41}, {0xF0, 0x9F, 0x98, 0x80, 0x41}},
        {{0x10FFFF}, {0xDBFF, 0xDFFF}, {0xF4, 0x8F, 0xBF, 0xBF}},
    };
    for (const Row& row : rows) {
        for (const ConversionFlags flags : {strictConversion, lenientConversion}) {
            EXPECT_EQ(Convert<Units>(ConvertUTF32toUTF16, row.points, flags).target, row.units);
            EXPECT_EQ(Convert<Points>(ConvertUTF16toUTF32, row.units, flags).target, row.points);
            EXPECT_EQ(Convert<Bytes>(ConvertUTF16toUTF8, row.units, flags).target, row.bytes);
            EXPECT_EQ(Convert<Units>(ConvertUTF8toUTF16, row.bytes, flags).target, row.units);
            EXPECT_EQ(Convert<Bytes>(ConvertUTF32toUTF8, row.points, flags).target, row.bytes);
            const auto back = Convert<Points>(ConvertUTF8toUTF32, row.bytes, flags);
            EXPECT_EQ(back.target, row.points);
            EXPECT_EQ(back.result, conversionOK);
            EXPECT_EQ(back.consumed, row.bytes.size());
        }
    }
}

TEST(ConvertUTF, JudgesUtf8AsTheStandardDoes) {
    struct Row {
        Bytes bytes;
        ConversionResult result;
    };
    const Row rows[] = {
        {{0x80}, sourceIllegal},                          // a continuation alone
        {{0xBF, 0x41}, sourceIllegal},                    //
        {{0xC0, 0x80}, sourceIllegal},                    // overlong forms
        {{0xC1, 0xBF}, sourceIllegal},                    //
        {{0xE0, 0x9F, 0xBF}, sourceIllegal},              //
        {{0xF0, 0x8F, 0xBF, 0xBF}, sourceIllegal},        //
        {{0xED, 0xA0, 0x80}, sourceIllegal},              // a surrogate
        {{0xF4, 0x90, 0x80, 0x80}, sourceIllegal},        // above U+10FFFF
        {{0xF5, 0x80, 0x80, 0x80}, sourceIllegal},        //
        {{0xF8, 0x88, 0x80, 0x80, 0x80}, sourceIllegal},  // five and six bytes
        {{0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}, sourceIllegal},
        {{0xFF, 0, 0, 0, 0, 0}, sourceIllegal},
        {{0xC2, 0x41}, sourceIllegal},  // the continuation missing
        {{0xE2, 0x82, 0x41}, sourceIllegal},
        {{0xE2, 0x41, 0x82}, sourceIllegal},
        {{0xF0, 0x9F, 0x98, 0x41}, sourceIllegal},
        {{0xC2}, sourceExhausted},  // cut short
        {{0xE2, 0x82}, sourceExhausted},
        {{0xF0, 0x9F, 0x98}, sourceExhausted},
    };
    for (const Row& row : rows) {
        Bytes text{'o', 'k'};
        text.insert(text.end(), row.bytes.begin(), row.bytes.end());
        for (const ConversionFlags flags : {strictConversion, lenientConversion}) {
            const auto wide = Convert<Points>(ConvertUTF8toUTF32, text, flags);
            EXPECT_EQ(wide.result, row.result);
            EXPECT_EQ(wide.consumed, 2U);
            EXPECT_EQ(wide.target, (Points{'o', 'k'}));
            EXPECT_EQ(Convert<Units>(ConvertUTF8toUTF16, text, flags).result, row.result);
        }
        EXPECT_FALSE(isLegalUTF8Sequence(row.bytes.data(), row.bytes.data() + row.bytes.size()));
    }
}

TEST(ConvertUTF, LegalSequencesEndWithinTheText) {
    const Bytes euro{0xE2, 0x82, 0xAC, 0x41};
    EXPECT_TRUE(isLegalUTF8Sequence(euro.data(), euro.data() + 4));
    EXPECT_TRUE(isLegalUTF8Sequence(euro.data(), euro.data() + 3));
    EXPECT_FALSE(isLegalUTF8Sequence(euro.data(), euro.data() + 2));
    EXPECT_FALSE(isLegalUTF8Sequence(euro.data(), euro.data()));
    EXPECT_TRUE(isLegalUTF8(euro.data(), 3));
    EXPECT_FALSE(isLegalUTF8(euro.data(), 5));
    EXPECT_FALSE(isLegalUTF8(euro.data(), 0));
}

TEST(ConvertUTF, StrictStopsAtSingleSurrogatesAndLenientGoesOn) {
    for (const UTF32 surrogate : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU}) {
        const Points points{'a', surrogate, 'b'};
        const auto strict16 = Convert<Units>(ConvertUTF32toUTF16, points, strictConversion);
        EXPECT_EQ(strict16.result, sourceIllegal);
        EXPECT_EQ(strict16.consumed, 1U);
        const auto lenient16 = Convert<Units>(ConvertUTF32toUTF16, points, lenientConversion);
        EXPECT_EQ(lenient16.result, conversionOK);
        EXPECT_EQ(lenient16.target, (Units{'a', 0xFFFD, 'b'}));

        const auto strict8 = Convert<Bytes>(ConvertUTF32toUTF8, points, strictConversion);
        EXPECT_EQ(strict8.result, sourceIllegal);
        EXPECT_EQ(strict8.consumed, 1U);
        const Bytes carried{'a', 0xED, static_cast<UTF8>(0x80 | ((surrogate >> 6) & 0x3F)),
                            static_cast<UTF8>(0x80 | (surrogate & 0x3F)), 'b'};
        EXPECT_EQ(Convert<Bytes>(ConvertUTF32toUTF8, points, lenientConversion).target, carried);

        const Units units{'a', static_cast<UTF16>(surrogate), 'b'};
        const auto strictUnits = Convert<Points>(ConvertUTF16toUTF32, units, strictConversion);
        EXPECT_EQ(strictUnits.result, sourceIllegal);
        EXPECT_EQ(strictUnits.consumed, 1U);
        EXPECT_EQ(Convert<Points>(ConvertUTF16toUTF32, units, lenientConversion).target, points);
        EXPECT_EQ(Convert<Bytes>(ConvertUTF16toUTF8, units, strictConversion).result, sourceIllegal);
        EXPECT_EQ(Convert<Bytes>(ConvertUTF16toUTF8, units, lenientConversion).target, carried);
    }
    const auto cut = Convert<Points>(ConvertUTF16toUTF32, Units{'a', 0xD83D}, lenientConversion);
    EXPECT_EQ(cut.result, sourceExhausted);
    EXPECT_EQ(cut.consumed, 1U);
}

TEST(ConvertUTF, ValuesOutOfRangeNeverStopAConversion) {
    const Points points{'a', 0x110000, 0xFFFFFFFF, 'b'};
    for (const ConversionFlags flags : {strictConversion, lenientConversion}) {
        const auto bytes = Convert<Bytes>(ConvertUTF32toUTF8, points, flags);
        EXPECT_EQ(bytes.result, sourceIllegal);
        EXPECT_EQ(bytes.target, (Bytes{'a', 0xEF, 0xBF, 0xBD, 0xEF, 0xBF, 0xBD, 'b'}));
    }
    const auto lenient = Convert<Units>(ConvertUTF32toUTF16, points, lenientConversion);
    EXPECT_EQ(lenient.result, conversionOK);
    EXPECT_EQ(lenient.target, (Units{'a', 0xFFFD, 0xFFFD, 'b'}));
    const auto strict = Convert<Units>(ConvertUTF32toUTF16, points, strictConversion);
    EXPECT_EQ(strict.result, sourceIllegal);
    EXPECT_EQ(strict.target, (Units{'a', 'b'}));
}

TEST(ConvertUTF, ATargetThatIsTooSmallKeepsTheRestInTheSource) {
    const Points points{'a', 0xE9, 0x20AC, 0x1F600};
    const std::size_t ends8[] = {1, 3, 6, 10};
    for (std::size_t room = 0; room <= 10; room++) {
        const auto bytes = Convert<Bytes>(ConvertUTF32toUTF8, points, lenientConversion, room);
        std::size_t whole = 0;
        while (whole < 4 && ends8[whole] <= room) whole++;
        EXPECT_EQ(bytes.consumed, whole);
        EXPECT_EQ(bytes.result, whole == 4 ? conversionOK : targetExhausted);
    }
    const Bytes text{'a', 0xC3, 0xA9, 0xF0, 0x9F, 0x98, 0x80};
    EXPECT_EQ(Convert<Units>(ConvertUTF8toUTF16, text, lenientConversion, 3).consumed, 3U);
    EXPECT_EQ(Convert<Units>(ConvertUTF8toUTF16, text, lenientConversion, 3).result, targetExhausted);
    EXPECT_EQ(Convert<Points>(ConvertUTF8toUTF32, text, lenientConversion, 2).consumed, 3U);
}

// The C library's converter as the judge of where ill-formed text begins.
TEST(ConvertUTF, AgreesWithIconvOnRandomBytes) {
    iconv_t judge = iconv_open("UTF-32LE", "UTF-8");
    ASSERT_NE(std::bit_cast<std::intptr_t>(judge), -1);
    std::mt19937 random(1);  // a fixed seed: the same texts in every run
    const UTF8 interesting[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2,
                                0xDF, 0xE0, 0xE1, 0xED, 0xEF, 0xF0, 0xF3, 0xF4, 0xF5, 0xF8, 0xFC, 0xFF};
    for (int i = 0; i < 20000; i++) {
        Bytes text(random() % 12);
        for (UTF8& byte : text) byte = interesting[random() % std::size(interesting)];
        const auto ours = Convert<Points>(ConvertUTF8toUTF32, text, strictConversion);
        Points theirs(16);
        char* in = reinterpret_cast<char*>(text.data());
        char* out = reinterpret_cast<char*>(theirs.data());
        std::size_t inLeft = text.size();
        std::size_t outLeft = theirs.size() * sizeof(UTF32);
        const bool complete = iconv(judge, &in, &inLeft, &out, &outLeft) == 0;
        iconv(judge, nullptr, nullptr, nullptr, nullptr);
        theirs.resize(theirs.size() - outLeft / sizeof(UTF32));
        ASSERT_EQ(ours.target, theirs);
        ASSERT_EQ(ours.result == conversionOK, complete);
    }
    iconv_close(judge);
}

}  // namespace
