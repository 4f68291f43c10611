// The string type: storage, the wide copy, and every operation in tables of rows.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "common/UStringX.h"

namespace {

std::string Text(const UString& text) {
    return static_cast<char*>(text);
}

TEST(UString, WithoutStorageReadsAsEmpty) {
    UString text;
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(static_cast<char*>(text), "");
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"");
    EXPECT_EQ(text[0], '\0');
    EXPECT_STREQ(text.Mid(0), "");
    EXPECT_TRUE(text.StartsWith(""));
    EXPECT_FALSE(text.StartsWith("a"));
    EXPECT_TRUE(text == "");
    text.Trim();
    text.StripNonNumeric();
    EXPECT_FALSE(text.Replace("a", "b"));
    EXPECT_EQ(text.Capacity(), 0);
}

TEST(UString, NullMakesEmptyAndAssigningItKeepsTheStorage) {
    EXPECT_EQ(UString(static_cast<const char*>(nullptr)).Capacity(), 0);
    EXPECT_EQ(UString(static_cast<const unsigned char*>(nullptr)).Capacity(), 0);
    EXPECT_EQ(UString(static_cast<const wchar_t*>(nullptr)).Capacity(), 0);

    const UString source;
    const UString copy(source);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.Capacity(), 64);

    UString text(std::string(100, 'x').c_str());
    const int capacity = text.Capacity();
    text = static_cast<const char*>(nullptr);
    EXPECT_TRUE(text.IsEmpty());
    text = "again";
    text = source;
    EXPECT_TRUE(text.IsEmpty());
    text = static_cast<const wchar_t*>(nullptr);
    text = static_cast<const unsigned char*>(nullptr);
    EXPECT_EQ(text.Capacity(), capacity);
    text.Free();
    EXPECT_EQ(text.Capacity(), 0);
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"");
}

TEST(UString, CapacityGrowsInSteps) {
    struct Row {
        int length;
        int capacity;
    };
    const Row rows[] = {{0, 64},      {62, 64},     {63, 128},    {126, 128},   {127, 256},
                        {254, 256},   {255, 1024},  {1022, 1024}, {1023, 4096}, {4094, 4096},
                        {4095, 8192}, {8190, 8192}, {8191, 8192}, {8192, 8193}, {8999, 9000}};
    for (const Row& row : rows) {
        const UString text(std::string(static_cast<std::size_t>(row.length), 'x').c_str());
        EXPECT_EQ(text.Capacity(), row.capacity) << row.length;
        EXPECT_EQ(text.GetLength(), row.length);
    }
}

TEST(UString, GrowingKeepsTheTextAndItNeverShrinks) {
    UString text("kept");
    text.SetLength(200);
    EXPECT_EQ(Text(text), "kept");
    EXPECT_EQ(text.Capacity(), 256);
    text.SetLength(3);
    text = "x";
    EXPECT_TRUE(text.Replace("x", "yy"));
    text.SlashHex("(");
    EXPECT_EQ(text.Capacity(), 256);
    std::string expected = Text(text);
    for (int i = 0; i < 5000; i++) {
        text += static_cast<char>('a' + i % 26);
        expected += static_cast<char>('a' + i % 26);
    }
    EXPECT_EQ(Text(text), expected);
}

TEST(UString, WideAndNarrowFormsAgree) {
    struct Row {
        const char* narrow;
        std::wstring wide;
    };
    const Row rows[] = {{"plain", L"plain"},
                        {"caf\xC3\xA9", L"caf\u00E9"},
                        {"\xE2\x82\xAC", L"\u20AC"},
                        {"\xF0\x9F\x98\x80!", L"\U0001F600!"},
                        {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"}};
    for (const Row& row : rows) {
        UString text(row.narrow);
        EXPECT_EQ(std::wstring(static_cast<wchar_t*>(text)), row.wide);
        EXPECT_EQ(Text(UString(row.wide.c_str())), row.narrow);
        UString assigned("something longer than the new text");
        assigned = row.wide.c_str();
        EXPECT_EQ(Text(assigned), row.narrow);
    }
}

TEST(UString, TheWideCopyFollowsTheText) {
    UString text("first, and long");
    wchar_t* const wide = text;
    EXPECT_EQ(static_cast<wchar_t*>(text), wide);
    text = "second";
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"second");
    text += '!';
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"second!");
    EXPECT_TRUE(text.Replace("sec", "f"));
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"fond!");
    text.Format("%d", 7);
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"7");
    const std::string longer(3000, 'w');
    text = longer.c_str();
    EXPECT_EQ(std::wstring(static_cast<wchar_t*>(text)), std::wstring(3000, L'w'));
    text = "";
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"");
}

TEST(UString, IllFormedTextConvertsUpToItsFault) {
    UString text("a rather long text whose copy is replaced");
    EXPECT_NE(static_cast<wchar_t*>(text), nullptr);
    text = "ok\xC0\x80 never";
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"ok");
    text = "cut\xE2\x82";
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"cut");
    const wchar_t values[] = {L'a', static_cast<wchar_t>(0x110000), L'b', 0};
    EXPECT_EQ(Text(UString(values)),
              "a\xEF\xBF\xBD"
              "b");
}

TEST(UString, CopiesShareNothing) {
    UString first("one");
    UString second(first);
    const UString third = UString("x") + first;
    first = "two";
    second += "more";
    EXPECT_EQ(Text(second), "onemore");
    EXPECT_EQ(Text(third), "xone");
    second = *&second;
    EXPECT_EQ(Text(second), "onemore");
    OSListObj& entry = second;
    char key[] = "onemore";
    EXPECT_FALSE(entry.IsKey(key));
}

TEST(UString, OwnTextIsAValidArgument) {
    UString text("abcdef");
    text = static_cast<const char*>(text.Mid(2));
    EXPECT_EQ(Text(text), "cdef");
    for (int i = 0; i < 6; i++) text += text;
    EXPECT_EQ(text.GetLength(), 4 * 64);
    text = "a b";
    text.AppendSafe(text);
    EXPECT_EQ(Text(text), "a ba%20b");
    text = "(x)";
    text.SlashHex(text);
    EXPECT_EQ(Text(text), "\\28x\\29");
    text.Format("%s-%s", static_cast<char*>(text), "end");
    EXPECT_EQ(Text(text), "\\28x\\29-end");
    text = "aXbX";
    EXPECT_TRUE(text.ReplaceAll("X", text));
    EXPECT_EQ(Text(text), "aaXbXbaXbX");
}

TEST(UString, ReadsAtAnyIndex) {
    const UString text("0123");
    EXPECT_EQ(text[0], '0');
    EXPECT_EQ(text[4], '\0');
    EXPECT_STREQ(text.Mid(1), "123");
    EXPECT_STREQ(text.Mid(3), "3");
    EXPECT_STREQ(text.Mid(4), "");
    EXPECT_STREQ(text.Mid(400), "");
    EXPECT_TRUE(text.StartsWith("01"));
    EXPECT_TRUE(text.StartsWith("0123"));
    EXPECT_TRUE(text.StartsWith(""));
    EXPECT_FALSE(text.StartsWith("01234"));
    EXPECT_FALSE(text.StartsWith("1"));
}

TEST(UString, AppendsAndConcatenates) {
    UString text;
    text += "ab";
    text += static_cast<const char*>(nullptr);
    text += UString("cd");
    text += UString();
    text += 'e';
    text.AddStripped("1f-2g \xC3\xA9 H!");
    text.AddStripped(nullptr);
    EXPECT_EQ(Text(text), "abcdefgH");
    EXPECT_EQ(Text(text + "x"), "abcdefgHx");
    EXPECT_EQ(Text("x" + text), "xabcdefgH");
    EXPECT_EQ(Text(text + static_cast<const char*>(nullptr)), "abcdefgH");
    EXPECT_EQ(Text(UString() + UString()), "");
}

TEST(UString, FormatsAndReservesTenMore) {
    UString text("old");
    EXPECT_EQ(text.Format("%s:%05d", "port", 42), 10);
    EXPECT_EQ(Text(text), "port:00042");
    EXPECT_EQ(text.Format("%s", std::string(100, 'x').c_str()), 100);
    EXPECT_EQ(text.Capacity(), 128);
    EXPECT_EQ(text.Format("%s", std::string(120, 'x').c_str()), 120);
    EXPECT_EQ(text.Capacity(), 256);
}

TEST(UString, FormatThatFailsLeavesTheTextEmpty) {
    UString text("old");
    // No encoding of the default locale has this character: the C library's formatter refuses it.
    EXPECT_EQ(text.Format("%ls", L"\U0001F600"), 0);
    EXPECT_EQ(Text(text), "");
}

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

TEST(UString, ReadsLines) {
    const std::string longLine(1500, 'y');
    std::string content = "first\n\nthird\r\n" + longLine + "\nlast";
    const File file(fmemopen(content.data(), content.size(), "r"));
    UString text("old");
    for (const char* line : {"first", "", "third\r"}) {
        EXPECT_TRUE(text.fgets(file.get()));
        EXPECT_EQ(Text(text), line);
    }
    EXPECT_EQ(text.Capacity(), 1024);
    EXPECT_TRUE(text.fgets(file.get()));
    EXPECT_EQ(text.GetLength(), 1023);
    EXPECT_TRUE(text.fgets(file.get()));
    EXPECT_EQ(text.GetLength(), 477);
    EXPECT_TRUE(text.fgets(file.get()));
    EXPECT_STREQ(static_cast<wchar_t*>(text), L"last");
    EXPECT_FALSE(text.fgets(file.get()));
    EXPECT_EQ(Text(text), "last");
    const File writeOnly(fopen("/dev/null", "w"));
    EXPECT_FALSE(text.fgets(writeOnly.get()));
    EXPECT_EQ(Text(text), "");
}

TEST(UString, Escapes) {
    struct Row {
        UString& (UString::*escape)(const char*);
        const char* text;
        const char* escaped;
    };
    const Row rows[] = {
        {&UString::SlashHex, "(cn=a*)", R"(\28cn=a\2A\29)"},
        {&UString::SlashHex, "a\\b", "a\\5Cb"},
        {&UString::SlashHex2, "(cn=a*)", R"(\28cn=a*\29)"},
        {&UString::SlashHex2, "\\", "\\5C"},
        {&UString::EscapeMySQL, "O'Neil", R"(O\'Neil)"},
        {&UString::EscapeMySQL, R"("\)", R"(\"\\)"},
        {&UString::EscapeShell, "a b", "a\\ b"},
        {&UString::EscapeShell, "Az09;$\n", "Az09\\;\\$\\\n"},
        {&UString::EscapeShell, "\xC3\xA9", "\\\xC3\\\xA9"},
        {&UString::EscapeShell, "", ""},
    };
    for (const Row& row : rows) {
        UString text("old");
        EXPECT_EQ(&(text.*row.escape)(row.text), &text);
        EXPECT_EQ(Text(text), row.escaped);
        (text.*row.escape)(nullptr);
        EXPECT_EQ(Text(text), "");
    }
    // Every byte escaped: the copy is larger than what was reserved for it.
    UString text;
    text.SlashHex(std::string(300, '*').c_str());
    EXPECT_EQ(text.GetLength(), 900);
}

TEST(UString, EncodesForUrls) {
    UString text(">");
    text.AppendSafe("50% off & more");
    EXPECT_EQ(Text(text), ">50%25%20off%20%26%20more");
    text = ">";
    text.AppendSafe2("50% off & more");
    EXPECT_EQ(Text(text), ">50%25%20off%20&%20more");
    text.AppendSafe(nullptr);
    text.AppendSafe2(nullptr);
    EXPECT_EQ(Text(text), ">50%25%20off%20&%20more");
    const UString plain("a&b c");
    UString encoded("old");
    EXPECT_EQ(&plain.URLEncode(encoded), &encoded);
    EXPECT_EQ(Text(encoded), "a%26b%20c");
    EXPECT_EQ(Text(plain), "a&b c");
}

TEST(UString, Replaces) {
    UString text("abbcbb");
    EXPECT_TRUE(text.Replace("bb", "x"));
    EXPECT_EQ(Text(text), "axcbb");
    EXPECT_TRUE(text.ReplaceAll("bb", "x"));
    EXPECT_EQ(Text(text), "axcx");
    EXPECT_FALSE(text.Replace("bb", "x"));
    EXPECT_FALSE(text.ReplaceAll("bb", "x"));
    EXPECT_EQ(Text(text), "axcx");
}

TEST(UString, ReplacesAll) {
    struct Row {
        const char* text;
        const char* find;
        const char* repl;
        const char* result;
        bool replaced;
    };
    const Row rows[] = {
        {"aaaa", "aa", "a", "a", true},         // the search starts over
        {"a-b-c", "-", "", "abc", true},        //
        {"abc", "", "x", "abc", false},         // an empty pattern matches nothing
        {"abc", nullptr, "x", "abc", false},    //
        {"abc", "b", nullptr, "ac", true},      //
        {"a.b.c", ".", "..", "a..b..c", true},  // a replacement that contains the pattern is not searched
        {"xx", "x", "x", "xx", true},           //
        {"bbaa", "ba", "ab", "aabb", true},     // as long as the pattern: it ends
        {"abb", "ab", "xxa", "xxxxa", true},    // longer: new matches are found as well
    };
    for (const Row& row : rows) {
        UString text(row.text);
        EXPECT_EQ(text.ReplaceAll(row.find, row.repl), row.replaced) << row.text;
        EXPECT_EQ(Text(text), row.result);
    }
    // Searched from the start each time this pair would never end: every replacement makes room for another.
    UString text("aab");
    EXPECT_TRUE(text.ReplaceAll("ab", "bbaa"));
    EXPECT_LT(text.GetLength(), 100);
}

TEST(UString, TrimsAndStrips) {
    struct Row {
        const char* text;
        const char* trimmed;
        const char* digits;
    };
    const Row rows[] = {{"  a ", "a", ""},
                        {" \t\r\n ", "", ""},
                        {"", "", ""},
                        {"a b\n", "a b", ""},
                        {"\va\v", "\va\v", ""},
                        {"+44 (0)20", "+44 (0)20", "44020"},
                        {"\xD9\xA3"
                         "7 ",
                         "\xD9\xA3"
                         "7",
                         "7"}};
    for (const Row& row : rows) {
        UString text(row.text);
        text.Trim();
        EXPECT_EQ(Text(text), row.trimmed);
        text.StripNonNumeric();
        EXPECT_EQ(Text(text), row.digits);
    }
}

TEST(UString, ComparesBytes) {
    const UString empty;
    const UString a("a");
    const UString b("b");
    const UString high("\xC3\xA9");
    char text[] = "a";
    EXPECT_TRUE(a == "a" && "a" == a && a == text && text == a && a == UString("a"));
    EXPECT_TRUE(a != "b" && "b" != a && b != text && text != b && a != b);
    EXPECT_TRUE(a < b && a < "b" && "a" < b && b > a && b > "a" && "b" > a);
    EXPECT_FALSE(a < a || a > a || b < a || a > b);
    EXPECT_TRUE(a <= a && a <= b && a <= "a" && !(b <= a));
    EXPECT_TRUE(empty == "" && empty < a && empty <= UString() && !(a <= empty));
    EXPECT_TRUE(high > "z" && b < high);
}

}  // namespace
