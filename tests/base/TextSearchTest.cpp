#include "base/TextSearch.h"

#include "base/linux/IcuTextSearch.h"

#include <gtest/gtest.h>

#include <unicode/unistr.h>
#include <unicode/usearch.h>

#include <random>

namespace varnel {
namespace {

bool contains(TextSearching& search, std::string_view text, std::string_view query) {
    return search.key(text).contains(search.key(query));
}

TEST(TextSearch, FollowsTheLanguage) {
    IcuTextSearch english("en_US"), turkish("tr_TR");
    PlainTextSearch plain;
    const struct {
        TextSearching& search;
        const char *text, *query;
        bool found;
    } rows[] = {
        {english, "Übersicht", "ÜBERSICHT", true},
        {english, "Übersicht", "ubersicht", false},
        {english, "Übersicht", "bersicht", true},
        {english, "Cafe\u0301", "café", true},
        {english, "Cafe\u0301", "cafe", false},
        {english, "ﬁnder", "Finder", true},
        {english, "ﬁnder", "inder", false},
        {english, "STRASSE", "straße", false},
        {english, "ctrl+j+w", "J+W", true},
        {english, "ctrl+j+w", "jw", false},
        {english, "anything", "", true},
        {english, "日本語", "本", true},
        {english, "a\xFF", "\xFF", true},
        {turkish, "ISPARTA", "ısparta", true},
        {turkish, "ISPARTA", "isparta", false},
        {plain, "ISPARTA", "isparta", true},
        {plain, "ÄPFEL", "äpf", true},
        {plain, "ÄPFEL", "apf", false},
        {plain, "a\xFF", "A\xFF", true},
        {plain, "x", "xx", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(contains(row.search, row.text, row.query), row.found) << row.text << " / " << row.query;
}

TEST(TextSearch, KeepsMatchesWithinOneText) {
    PlainTextSearch search;
    SearchKey both = search.key("ab");
    both.append(search.key("cd"));
    EXPECT_TRUE(both.contains(search.key("CD")));
    EXPECT_FALSE(both.contains(search.key("bc")));
}

/// What the library's own string search says at the strength that ignores case only.
bool libraryContains(const icu::UnicodeString& text, const icu::UnicodeString& query, const char* locale) {
    UErrorCode status = U_ZERO_ERROR;
    UStringSearch* search = usearch_open(query.getBuffer(), query.length(), text.getBuffer(), text.length(),
                                         locale, nullptr, &status);
    UCollator* collator = usearch_getCollator(search);
    ucol_setStrength(collator, UCOL_SECONDARY);
    ucol_setAttribute(collator, UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, &status);
    usearch_reset(search);
    const bool found = usearch_first(search, &status) != USEARCH_DONE;
    usearch_close(search);
    return found;
}

TEST(TextSearch, AgreesWithTheLibrarysOwnSearch) {
    const char32_t letters[] = U"aAáäbcChHiIıİlLsSßzñ+ .éﬁæåдДёЁ中\u0301\u0308がかΣσς";
    std::mt19937 random(7);
    const auto word = [&](unsigned longest) {
        icu::UnicodeString text;
        for (unsigned length = 1 + random() % longest; length > 0; --length)
            text.append(static_cast<UChar32>(letters[random() % (std::size(letters) - 1)]));
        return text;
    };
    for (const char* locale : {"en", "de", "tr", "cs", "da", "es", "ru", "ja"}) {
        IcuTextSearch search(locale);
        int found = 0;
        for (int round = 0; round < 4000; ++round) {
            const icu::UnicodeString text = word(12), query = word(2);
            std::string text8, query8;
            const bool expected = libraryContains(text, query, locale);
            found += expected;
            ASSERT_EQ(contains(search, text.toUTF8String(text8), query.toUTF8String(query8)), expected)
                << locale << ": " << text8 << " / " << query8;
        }
        EXPECT_GT(found, 300) << locale;
    }
}

} // namespace
} // namespace varnel
