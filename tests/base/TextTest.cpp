#include "base/Text.h"
#include "base/Uuid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace varnel {
namespace {

TEST(Text, TrimsWhiteSpaceOfAllKinds) {
    const struct {
        std::string_view text, trimmed;
    } rows[] = {
        {"", ""},         {" \t\r\n ", ""},       {" a b ", "a b"}, {"\u00A0\u3000x\u2028\u0085", "x"},
        {"\v\fx", "x"},   {"\u200Bx", "\u200Bx"}, {"é ", "é"},      {"\xFF \xC2", "\xFF \xC2"},
        {"\x85", "\x85"}, {" \xA0", "\xA0"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(trimmed(row.text), row.trimmed);
}

TEST(Text, LowersLettersWithoutALocale) {
    const struct {
        std::string_view text, lower;
    } rows[] = {
        {"CMD+Shift+K", "cmd+shift+k"},
        {"ÄÖÜ ÉÑ×ß", "äöü éñ×ß"},
        {"ΑΩΣ ЖЯЁ", "αωσ жяё"},
        {"ĀŁŽŸ", "āłžÿ"},
        {"ẞỲ", "ßỳ"},
        {"ＡＺ", "ａｚ"},
        {"Ⅷ Ⓐ", "ⅷ ⓐ"},
        {"İ", "İ"},
        {"漢字 😀", "漢字 😀"},
        {"\xC3"
         "A\xFF",
         "\xC3"
         "a\xFF"},
        {"K Å", "k å"},
        {"Ԁ Ꙁ Ა", "ԁ ꙁ ა"},
        {"ǅ", "ǆ"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(lowercased(row.text), row.lower);
}

TEST(Text, KnowsValidUTF8) {
    for (const char* text : {"", "a", "é", "€", "😀", "\u07FF\uFFFF", "\xEE\x80\x80", "\xED\x9F\xBF"})
        EXPECT_TRUE(isValidUTF8(text)) << text;
    for (const char* text :
         {"\x80", "\xC1\xBF", "\xC3", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82", "a\xE2\x28\xA1"})
        EXPECT_FALSE(isValidUTF8(text));
}

TEST(Text, SplitsAndJoins) {
    for (const std::string text : {"", "a", ",", "a,,b", ",a,"}) {
        std::vector<std::string> parts;
        for (const auto part : split(text, ','))
            parts.emplace_back(part);
        EXPECT_EQ(join(parts, ","), text);
        EXPECT_EQ(parts.size(), static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1);
    }
}

TEST(Text, MakesOneHarmlessLine) {
    const struct {
        std::string text;
        std::size_t limit;
        std::string line;
    } rows[] = {
        {"plain", 80, "plain"},
        {"two\nlines\r\nthree\n", 80, "two lines three"},
        {"tab\there", 80, "tab here"},
        {"\x1B[31mred\x1B[0m \x1B]0;title\a!\x1B]8;;x\x1B\\?", 80, "red !?"},
        {"a\x1B", 80, "a"},
        {"a\x1B[12", 80, "a"},
        {"a\x1B]never ends", 80, "a"},
        {"a\u009B31mb\u0085c\x7F" + std::string(1, '\0') + "d", 80, "ab cd"},
        {"ok\xFF!", 80, "ok\uFFFD!"},
        {"öäüöäü", 6, "öäüöäü"},
        {"öäüöäüx", 6, "öäüöä…"},
        {"ab", 1, "…"},
        {"ab", 0, ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(singleLine(row.text, row.limit), row.line) << row.text;
}

TEST(Text, SuggestsTheNearestWord) {
    const std::vector<std::string> verbs{"check", "format", "simulate", "status", "plugins"};
    const struct {
        std::string word, suggestion;
    } rows[] = {{"chekc", "check"},
                {"chek", "check"},
                {"simulat", "simulate"},
                {"statsu", "status"},
                {"frobnicate", ""},
                {"", ""},
                {"x", ""},
                {"check", "check"}};
    for (const auto& row : rows)
        EXPECT_EQ(nearest(row.word, verbs), row.suggestion) << row.word;
}

TEST(Uuid, ReadsEitherCaseAndWritesUpperCase) {
    const auto uuid = Uuid::parse("0123abcd-4567-89AB-cdef-0123456789aB");
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuid->text(), "0123ABCD-4567-89AB-CDEF-0123456789AB");
    EXPECT_EQ(uuid->bytes[0], 0x01);
    EXPECT_EQ(uuid->bytes[15], 0xAB);
    for (const char* text :
         {"", "0123abcd-4567-89AB-cdef-0123456789a", "0123abcd-4567-89AB-cdef-0123456789abc",
          "0123abcd 4567-89AB-cdef-0123456789ab", "0123abcg-4567-89AB-cdef-0123456789ab",
          "0123abcd4-567-89AB-cdef-0123456789ab", "{123abcd-4567-89AB-cdef-0123456789a}"})
        EXPECT_FALSE(Uuid::parse(text)) << text;
}

TEST(Uuid, MakesFreshOnesOfVersionFour) {
    std::set<Uuid> all;
    for (int i = 0; i < 1000; ++i) {
        const Uuid uuid = Uuid::random();
        EXPECT_EQ(uuid.text()[14], '4');
        EXPECT_NE(std::string("89AB").find(uuid.text()[19]), std::string::npos);
        EXPECT_EQ(Uuid::parse(uuid.text()), uuid);
        all.insert(uuid);
    }
    EXPECT_EQ(all.size(), 1000U);
}

} // namespace
} // namespace varnel
