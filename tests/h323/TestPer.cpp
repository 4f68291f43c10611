// Packed encoding: numbers and lengths as X.691 has them, and a reader that never passes the end.
#include <gtest/gtest.h>

#include "platform/h323/PerReader.h"
#include "platform/h323/PerWriter.h"
#include "tests/h323/Captures.h"

using h323::PerReader;
using h323::PerWriter;

namespace {

TEST(TestPer, NumbersAreWrittenAsTheStandardHasThem) {
    constexpr std::uint32_t Max = 4294967295;
    struct Row {
        std::uint32_t low, high, value;
        const char* hex;
    };
    constexpr Row Rows[] = {
        {5, 5, 5, ""},
        {0, 1, 1, "80"},
        {0, 6, 5, "a0"},
        {0, 127, 127, "fe"},
        {1, 128, 8, "0e"},
        {1, 255, 255, "fe"},
        {0, 255, 255, "ff"},
        {1, 256, 256, "ff"},
        {0, 256, 256, "0100"},
        {1, 65535, 101, "0064"},
        {0, 65535, 65535, "ffff"},
        {1, Max, 1, "0000"},
        {1, Max, 120, "0077"},
        {1, Max, 300, "40012b"},
        {1, Max, 86400, "8001517f"},
        {1, Max, Max, "c0fffffffe"},
    };
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.hex);
        PerWriter writer;
        writer.Integer(row.value, row.low, row.high);
        const std::vector<std::uint8_t> octets = writer.Take();
        EXPECT_EQ(ToHex(octets), row.hex);
        PerReader reader(octets);
        EXPECT_EQ(reader.Integer(row.low, row.high), row.value);
        EXPECT_FALSE(reader.Failed());
    }
}

TEST(TestPer, NumbersOutsideTheirRangeAreErrors) {
    PerWriter writer;
    writer.Integer(0, 1, 65535);
    EXPECT_TRUE(writer.Take().empty());
    const std::vector<std::uint8_t> seven = FromHex("e0");
    PerReader outside(seven);
    EXPECT_EQ(outside.Integer(0, 6), 0U);
    EXPECT_TRUE(outside.Failed());
    const std::vector<std::uint8_t> tooHigh = FromHex("c0ffffffff");
    PerReader overflow(tooHigh);
    overflow.Integer(1, 4294967295);
    EXPECT_TRUE(overflow.Failed());
}

TEST(TestPer, LengthsAndSmallNumbersKeepTheirForms) {
    struct Row {
        std::size_t value;
        const char *length, *number, *count;  // as length determinant, small number, small length
    };
    constexpr Row Rows[] = {
        {1, "01", "02", "00"},
        {63, "3f", "7e", "7c"},
        {64, "40", "800140", "7e"},
        {65, "41", "800141", "8041"},
        {127, "7f", "80017f", "807f"},
        {128, "8080", "800180", "808080"},
        {300, "812c", "8002012c", "80812c"},
    };
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.value);
        PerWriter length;
        length.Length(row.value);
        const std::vector<std::uint8_t> lengthOctets = length.Take();
        EXPECT_EQ(ToHex(lengthOctets), row.length);
        EXPECT_EQ(PerReader(lengthOctets).Length(), row.value);
        PerWriter number;
        number.SmallNumber(static_cast<std::uint32_t>(row.value));
        const std::vector<std::uint8_t> numberOctets = number.Take();
        EXPECT_EQ(ToHex(numberOctets), row.number);
        EXPECT_EQ(PerReader(numberOctets).SmallNumber(), row.value);
        PerWriter count;
        count.SmallLength(row.value);
        const std::vector<std::uint8_t> countOctets = count.Take();
        EXPECT_EQ(ToHex(countOctets), row.count);
        EXPECT_EQ(PerReader(countOctets).SmallLength(), row.value);
    }
}

TEST(TestPer, FragmentsAndOverlongNumbersAreRefused) {
    PerWriter writer;
    writer.Length(16384);
    EXPECT_TRUE(writer.Failed());
    const std::vector<std::uint8_t> fragment = FromHex("c100");
    PerReader fragmented(fragment);
    EXPECT_EQ(fragmented.Length(), 0U);
    EXPECT_TRUE(fragmented.Failed());
    const std::vector<std::uint8_t> three = FromHex("8003010203");
    PerReader number(three);
    EXPECT_EQ(number.SmallNumber(), 0U);
    EXPECT_TRUE(number.Failed());
}

TEST(TestPer, AnErrorSticksAndNothingPastTheEndIsRead) {
    const std::vector<std::uint8_t> octets = FromHex("05aabb");
    PerReader reader(octets);
    EXPECT_TRUE(reader.OpenType().empty());
    EXPECT_TRUE(reader.Failed());
    EXPECT_EQ(reader.Bits(1), 0U);
    EXPECT_TRUE(reader.Octets(1).empty());
    EXPECT_EQ(reader.Integer(7, 9), 7U);
    PerReader empty{std::span<const std::uint8_t>()};
    EXPECT_FALSE(empty.Bit());
    EXPECT_TRUE(empty.Failed());
}

TEST(TestPer, OnlyPaddingMayBeLeftOver) {
    const std::vector<std::uint8_t> octets = FromHex("ff00");
    PerReader none(octets);
    none.Bits(9);
    none.Finish();
    EXPECT_FALSE(none.Failed());
    PerReader one(octets);
    one.Bits(8);
    one.Finish();
    EXPECT_TRUE(one.Failed());
    const std::vector<std::uint8_t> single = FromHex("00");
    PerReader emptyValue(single);
    emptyValue.Finish();
    EXPECT_FALSE(emptyValue.Failed());
}

}  // namespace
