#include "base/Localization.h"

#include "base/Localized.h"
#include "base/MessageCatalogue.h"
#include "base/Text.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

namespace varnel {

namespace {

constexpr std::string_view kEnglish = "en";

thread_local int englishScopes = 0;

/// A localizer is a plain function, so what it knows lies here.
struct Speaker {
    std::string programFolder;
    std::vector<std::string> languages;
    std::once_flag opened;
    std::optional<MessageCatalogue> catalogue;
    std::string language{kEnglish};

    void open();
};

Speaker& speaker() {
    static auto* const only = new Speaker; // texts are made until the last thread ends
    return *only;
}

void Speaker::open() {
    // Beside the program as it is installed, in an application bundle, and as a bundled package sees it.
    static constexpr std::string_view folders[] = {"/../share/varnel/locale/", "/../Resources/locale/",
                                                   "/../../locale/"};
    for (const std::string& name : languages)
        for (const std::string_view folder : folders)
            if (catalogue = MessageCatalogue::open(programFolder + std::string(folder) + name + ".mo");
                catalogue) {
                language = name;
                return;
            }
}

void openOnce(Speaker& only) {
    std::call_once(only.opened, [&only] { only.open(); });
}

std::optional<std::string_view> translated(std::string_view englishText) {
    if (englishScopes > 0)
        return std::nullopt;
    Speaker& only = speaker();
    openOnce(only);
    return only.catalogue ? only.catalogue->find(englishText) : std::nullopt;
}

bool isPlainName(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
}

} // namespace

bool addLocale(std::vector<std::string>& languages, std::string_view locale) {
    std::string name(locale.substr(0, locale.find_first_of(".@")));
    std::ranges::replace(name, '-', '_');
    if (name == "C" || name == "POSIX")
        name = kEnglish;
    if (!isPlainName(name)) // it becomes part of a path
        return true;
    std::string language = name.substr(0, name.find('_'));
    if (language != kEnglish && language != name)
        languages.push_back(std::move(name));
    languages.push_back(std::move(language));
    return languages.back() != kEnglish;
}

std::vector<std::string> languagesOf(const std::function<const char*(const char* name)>& variable) {
    std::string_view locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* value = variable(name); value && *value && locale.empty())
            locale = value;
    std::vector<std::string> languages;
    if (locale.empty())
        return languages;
    // The list of alternatives counts for real languages only, as with every other program.
    const char* list = variable("LANGUAGE");
    if (const std::string_view name = locale.substr(0, locale.find('.'));
        !list || !*list || name == "C" || name == "POSIX") {
        addLocale(languages, locale);
        return languages;
    }
    for (std::string_view rest = list; !rest.empty();) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        if (!addLocale(languages, rest.substr(0, end)))
            break;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return languages;
}

void speakUsersLanguage(const std::string& programFolder) {
    Speaker& only = speaker();
    only.programFolder = programFolder;
    // The working folder may be another one when the first text is made.
    if (char* absolute =
            programFolder.starts_with('/') ? nullptr : ::realpath(programFolder.c_str(), nullptr)) {
        only.programFolder = absolute;
        std::free(absolute);
    }
    only.languages = languagesOf([](const char* name) -> const char* { return std::getenv(name); });
    if (only.languages.empty())
        only.languages = systemLanguages();
    if (!only.languages.empty() && only.languages.front() != kEnglish)
        setLocalizer(&translated);
}

std::string spokenLanguage() {
    Speaker& only = speaker();
    openOnce(only);
    return only.language;
}

EnglishTexts::EnglishTexts(bool isWanted)
    : isWanted_(isWanted) {
    if (isWanted_)
        ++englishScopes;
}

EnglishTexts::~EnglishTexts() {
    if (isWanted_)
        --englishScopes;
}

} // namespace varnel
