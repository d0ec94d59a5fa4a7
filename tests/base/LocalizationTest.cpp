#include "base/Localization.h"
#include "base/Localized.h"
#include "base/MessageCatalogue.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <thread>

using namespace varnel;

namespace {

std::string programs() {
    return VARNEL_BINARY_DIR;
}

std::string cataloguePath(const std::string& language) {
    return programs() + "/../share/varnel/locale/" + language + ".mo";
}

std::string contentOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

TEST(MessageCatalogue, findsWhatEachLanguageSays) {
    struct Row {
        const char *language, *english, *translation;
    };
    for (const Row& row :
         {Row{"de", "Executed: %1", "Ausgeführt: %1"}, Row{"ja", "Executed: %1", "実行しました: %1"},
          Row{"de", "Quit", "Beenden"}, Row{"ja", "Quit", "終了"}}) {
        const auto catalogue = MessageCatalogue::open(cataloguePath(row.language));
        ASSERT_TRUE(catalogue) << row.language;
        EXPECT_GT(catalogue->size(), 500u);
        EXPECT_EQ(catalogue->find(row.english), row.translation);
        for (const char* unknown : {"Quit ", "Qui", "\x01", "zzzz", "\xff"})
            EXPECT_EQ(catalogue->find(unknown), std::nullopt) << unknown;
    }
    EXPECT_FALSE(MessageCatalogue::open(cataloguePath("xx")));
    EXPECT_FALSE(MessageCatalogue::open(programs()));
}

TEST(MessageCatalogue, neverReadsBeyondADamagedFile) {
    const std::string whole = contentOf(cataloguePath("de"));
    ASSERT_GT(whole.size(), 1000u);
    for (std::size_t size = 0; size < whole.size(); size += size < 64 ? 1 : 997) {
        const std::string cut =
            whole.substr(0, size); // of its own size, so that sanitizers see every step outside
        if (const auto catalogue = MessageCatalogue::over(cut))
            for (const char* text : {"Quit", "Executed: %1", "A", "zz"})
                (void)catalogue->find(text);
    }
    for (std::size_t place = 0; place < 28 + 400; ++place) {
        std::string damaged = whole;
        damaged[place] = '\xff';
        if (const auto catalogue = MessageCatalogue::over(damaged))
            (void)catalogue->find("Quit");
    }
}

using Languages = std::vector<std::string>;

TEST(Localization, choosesLanguagesAsOtherProgramsDo) {
    struct Row {
        std::map<std::string, const char*> environment;
        Languages languages;
    };
    for (const Row& row : {
             Row{{}, {}},
             Row{{{"LANG", "de_DE.UTF-8"}}, {"de_DE", "de"}},
             Row{{{"LANG", "de_AT@euro"}, {"LC_MESSAGES", "ja_JP.UTF-8"}}, {"ja_JP", "ja"}},
             Row{{{"LANG", "ja_JP"}, {"LC_ALL", "C.UTF-8"}, {"LANGUAGE", "de"}}, {"en"}},
             Row{{{"LANG", "de_DE"}, {"LC_ALL", ""}}, {"de_DE", "de"}},
             Row{{{"LANG", "POSIX"}}, {"en"}},
             Row{{{"LANG", "fr_FR"}, {"LANGUAGE", "fr:de_CH:en:ja"}}, {"fr", "de_CH", "de", "en"}},
             Row{{{"LANG", "en_GB"}, {"LANGUAGE", "de"}}, {"de"}},
             Row{{{"LANG", "../../etc/de"}}, {}},
         }) {
        const auto variable = [&row](const char* name) -> const char* {
            const auto entry = row.environment.find(name);
            return entry == row.environment.end() ? nullptr : entry->second;
        };
        EXPECT_EQ(languagesOf(variable), row.languages);
    }
    Languages languages;
    EXPECT_TRUE(addLocale(languages, "zh-Hant-TW"));
    EXPECT_FALSE(addLocale(languages, "en-GB"));
    EXPECT_EQ(languages, (Languages{"zh_Hant_TW", "zh", "en"}));
}

TEST(Localization, speaksButNotToPrograms) {
    ::setenv("LC_ALL", "de_DE.UTF-8", 1);
    ::unsetenv("LANGUAGE");
    speakUsersLanguage(programs());
    EXPECT_EQ(spokenLanguage(), "de");
    EXPECT_EQ(localized("Executed: %1", {"100 %1"}), "Ausgeführt: 100 %1");
    EXPECT_EQ(localized("No such text %1", {"x"}), "No such text x");
    std::string elsewhere;
    {
        const EnglishTexts outer;
        const EnglishTexts inner, unwanted(false);
        EXPECT_EQ(localized("Quit"), "Quit");
        std::thread([&elsewhere] { elsewhere = localized("Quit"); }).join();
    }
    EXPECT_EQ(elsewhere, "Beenden");
    EXPECT_EQ(localized("Quit"), "Beenden");
    setLocalizer(nullptr);
}

} // namespace
