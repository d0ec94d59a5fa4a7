#include "app/EditorCommand.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace varnel {

namespace {

/// Nothing when a quote is not closed.
std::optional<std::vector<std::string>> words(std::string_view line) {
    std::vector<std::string> words;
    std::optional<std::string> word;
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const bool isQuote = (c == '"' || c == '\'') && (quote == 0 || quote == c);
        if (isQuote) {
            quote = quote ? 0 : c;
            word = word.value_or("");
        } else if (quote == 0 && (c == ' ' || c == '\t')) {
            if (word)
                words.push_back(*std::exchange(word, std::nullopt));
        } else {
            const bool escapes = c == '\\' && quote != '\'' && i + 1 < line.size();
            word = word.value_or("") + (escapes ? line[++i] : c);
        }
    }
    if (quote)
        return std::nullopt;
    if (word)
        words.push_back(*word);
    return words;
}

} // namespace

std::expected<std::vector<std::string>, std::string>
editorCommand(std::string_view preference, const std::string& path, const std::string& systemOpener,
              const std::function<std::string(const std::string&)>& findProgram) {
    const bool isChosen = !trimmed(preference).empty();
    auto command = words(isChosen ? preference : systemOpener);
    if (!command || command->empty())
        return std::unexpected(
            localized("A quote in the editor's command line is not closed: %1", {preference}));
    if (command->front().empty() || findProgram(command->front()).empty())
        return std::unexpected(
            isChosen
                ? localized("The editor “%1” was not found. Choose another one in the settings.",
                            {command->front()})
                : localized(
                      "There is no “%1” here to find an editor with. Choose an editor in the settings. The "
                      "configuration is %2.",
                      {command->front(), path}));
    const auto place = std::ranges::find(*command, "%f");
    if (place != command->end())
        *place = path;
    else
        command->push_back(path);
    return *command;
}

} // namespace varnel
