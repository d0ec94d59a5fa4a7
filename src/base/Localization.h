#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// The languages that the environment asks for, the best first, as catalogues are named ("pt_BR", "pt",
/// "en"). Ends at English, which needs no catalogue; empty when the environment tells nothing.
std::vector<std::string> languagesOf(const std::function<const char*(const char* name)>& variable);
/// Adds what "de_AT.UTF-8@euro" or "de-AT" stands for: "de_AT" and "de". False: it is English, so those that
/// would follow do not count.
bool addLocale(std::vector<std::string>& languages, std::string_view locale);
/// What the system's settings say where the environment tells nothing.
std::vector<std::string> systemLanguages();

/// Makes `localized` speak the user's language from here on, with the catalogues that lie beside the program
/// in `programFolder`. Reads nothing before the first text is made; without a catalogue texts stay English.
/// Once, before other threads start.
void speakUsersLanguage(const std::string& programFolder);
/// The language that is spoken, as its catalogue is named; "en" without one.
std::string spokenLanguage();

/// As long as it lives, texts that this thread makes are English: those for programs and for the log.
class EnglishTexts {
public:
    explicit EnglishTexts(bool isWanted = true);
    ~EnglishTexts();
    EnglishTexts(const EnglishTexts&) = delete;
    EnglishTexts& operator=(const EnglishTexts&) = delete;

private:
    bool isWanted_;
};

} // namespace varnel
