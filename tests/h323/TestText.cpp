// Texts between wide characters, UTF-16 and the console, and the module's own data.
#include <gtest/gtest.h>

#include "platform/h323/ModuleData.h"
#include "platform/h323/WideText.h"

using namespace h323;

namespace {

TEST(TestText, WideAndUtf16) {
    const struct {
        std::wstring wide;
        std::u16string utf16;
    } rows[] = {{L"", u""}, {L"Zoë €", u"Zoë €"}, {L"a\U0001F600b", u"a\U0001F600b"}};
    for (const auto& row : rows) {
        EXPECT_EQ(ToUtf16(row.wide.c_str(), 256), row.utf16);
        EXPECT_EQ(ToWide(row.utf16), row.wide);
    }
    EXPECT_EQ(ToUtf16(nullptr, 256), u"");
    EXPECT_EQ(ToUtf16(L"abc", 2), u"ab");
    EXPECT_EQ(ToUtf16(L"a\U0001F600", 2), u"a") << "no half of a pair";
    const wchar_t noCharacters[] = {0xd800, 0x110000, -1, 0};
    EXPECT_EQ(ToUtf16(noCharacters, 256), u"\ufffd\ufffd\ufffd");
    EXPECT_EQ(ToWide(std::u16string{0xdc00, u'a', 0xd800}), L"\ufffda\ufffd");
    EXPECT_EQ(ToPrintable(u"a\r\u009bé€\U0001F600"), "a??é€\U0001F600");
}

TEST(TestText, ModuleDataKeepsItsLayout) {
    const ModuleData data{40001, 6300, 500, 38};
    NonStandardParameter parameter = data.ToNonStandard();
    EXPECT_EQ(parameter.data.octets,
              (std::vector<UBYTE>{1, 0x9c, 0x41, 0x18, 0x9c, 0, 0, 1, 0xf4, 0, 0, 0, 38}));
    EXPECT_EQ(ModuleData::FromNonStandard(parameter), data);
    parameter.data.octets.push_back(99);
    parameter.data.octets[0] = 2;
    EXPECT_EQ(ModuleData::FromNonStandard(parameter), data) << "what a later version appends is passed over";
    parameter.data.octets[0] = 0;
    EXPECT_FALSE(ModuleData::FromNonStandard(parameter));
    parameter = data.ToNonStandard();
    parameter.data.octets.pop_back();
    EXPECT_FALSE(ModuleData::FromNonStandard(parameter));
    parameter = data.ToNonStandard();
    parameter.nonStandardIdentifier = H221NonStandard{{181}, {0}, {0x1234}};
    EXPECT_FALSE(ModuleData::FromNonStandard(parameter));
}

}  // namespace
