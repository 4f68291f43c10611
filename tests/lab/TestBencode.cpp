#include <gtest/gtest.h>

#include "tools/lab/Bencode.h"

namespace lab {
namespace {

TEST(Bencode, WritesAndReadsRowByRow) {
    const struct {
        const char* text;
        nlohmann::json value;
    } rows[] = {{"i-7e", -7},           {"0:", ""},
                {"3:a b", "a b"},       {"le", nlohmann::json::array()},
                {"l1:ai2ee", {"a", 2}}, {"d1:ali1ee1:b1:ce", {{"b", "c"}, {"a", {1}}}}};
    for (const auto& row : rows) {
        EXPECT_EQ(ToBencode(row.value), row.text);
        const std::optional<nlohmann::json> parsed = ParseBencode(row.text);
        ASSERT_TRUE(parsed) << row.text;
        EXPECT_EQ(*parsed, row.value) << row.text;
    }
}

TEST(Bencode, RefusesWhatIsNotWhole) {
    for (const char* text : {"", "i", "ie", "i7", "i7x", "5:four", "-1:", "9999999999999999999:", "l", "li1e",
                             "d1:a", "di1ei2ee", "e", "i1ei2e", "x"})
        EXPECT_FALSE(ParseBencode(text)) << text;
    EXPECT_FALSE(ParseBencode(std::string(100'000, 'l')));
}

}  // namespace
}  // namespace lab
