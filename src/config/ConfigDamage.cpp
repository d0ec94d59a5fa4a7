#include "config/ConfigDamage.h"

#include "base/JSONScanner.h"
#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace varnel {
namespace {

bool isOpener(char c) {
    return c == '{' || c == '[';
}
bool isCloser(char c) {
    return c == '}' || c == ']';
}

/// Calls `found` with each significant character of the line: one for a string, none for white space.
template <typename Found>
void forEachSign(std::string_view line, Found found) {
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == ' ' || line[i] == '\t' || line[i] == '\r')
            continue;
        found(line[i], i);
        if (line[i] == '"') // a string ends with its line at the latest
            for (++i; i < line.size() && line[i] != '"'; ++i)
                i += line[i] == '\\' ? 1 : 0;
    }
}

bool areBracketsBalanced(const std::vector<std::string_view>& lines) {
    int braces = 0, squares = 0;
    for (const std::string_view line : lines)
        forEachSign(line, [&](char c, std::size_t) {
            braces += c == '{' ? 1 : c == '}' ? -1 : 0;
            squares += c == '[' ? 1 : c == ']' ? -1 : 0;
        });
    return braces == 0 && squares == 0;
}

/// Follows the brackets line by line and compares them with the indentation. Every container tells by its
/// first line how far its content is indented.
class NestingReader {
public:
    /// The place where the two part, if this line shows it.
    std::optional<JSONPosition> read(std::string_view line, int number) {
        const std::size_t indentation = line.find_first_not_of(" \t\r");
        if (indentation == std::string_view::npos)
            return std::nullopt;
        if (auto broken = compare(line[indentation], indentation, number))
            return broken;
        forEachSign(line, [&](char c, std::size_t column) { follow(c, column, indentation, number); });
        lastLine_ = number;
        lastColumn_ = line.size();
        return std::nullopt;
    }

    /// What opens content that is not indented, where all other content turned out to be.
    [[nodiscard]] std::optional<JSONPosition> doubtful() const {
        return step_ && hanging_ == 0 ? flush_ : std::nullopt;
    }

private:
    struct Container {
        int line = 0;
        std::size_t column = 0;
        std::size_t indentation = 0; ///< of the line that opens it
        bool hasNeighbour = false;   ///< something else follows on the line that opens it
        std::optional<std::size_t> content = std::nullopt;
    };

    std::optional<JSONPosition> compare(char first, std::size_t indentation, int number) {
        if (open_.empty()) // what opens the whole is missing where the text begins with an indentation
            return blameUnless(lastSign_ != '\0' || indentation == 0, {}, indentation, number);
        if (lastSign_ == ':' && !isOpener(first)) // an opening bracket is missing at the end of that line
            return JSONPosition{lastLine_, static_cast<int>(lastColumn_)};
        Container& container = open_.back();
        if (isCloser(first))
            return blameUnless(indentation == container.indentation, container, indentation, number);
        if (lastSign_ != ',' && !isOpener(lastSign_))
            return std::nullopt;
        if (!container.content) {
            container.content = indentation;
            return blameUnless(isUsualStep(container, indentation), container, indentation, number);
        }
        return blameUnless(indentation == *container.content, container, indentation, number);
    }

    /// Either the bracket that opened the container is too many or one that closes it is missing. The first
    /// shows where the bracket does not end its line as others do.
    [[nodiscard]] std::optional<JSONPosition> blameUnless(bool agrees, const Container& container,
                                                          std::size_t indentation, int number) const {
        if (agrees)
            return std::nullopt;
        if (container.hasNeighbour && hanging_ == 0)
            return JSONPosition{container.line, static_cast<int>(container.column) + 1};
        return JSONPosition{number, static_cast<int>(indentation) + 1};
    }

    /// Whether content begins as far to the right of what opens it as it always did.
    bool isUsualStep(const Container& container, std::size_t indentation) {
        if (indentation <= container.indentation) {
            flush_ = JSONPosition{container.line, static_cast<int>(container.column) + 1};
            return !step_;
        }
        const std::size_t step = indentation - container.indentation;
        if (container.hasNeighbour) // content hangs below what begins on the line that opens it
            return true;
        if (!step_)
            step_ = step;
        return step == *step_ || hanging_ > 0;
    }

    void follow(char c, std::size_t column, std::size_t indentation, int number) {
        if (!open_.empty() && open_.back().line == number)
            open_.back().hasNeighbour = true;
        if (isOpener(c))
            open_.push_back({number, column, indentation, false});
        else if (isCloser(c) && !open_.empty()) {
            hanging_ += open_.back().hasNeighbour && open_.back().content ? 1 : 0;
            open_.pop_back();
        }
        lastSign_ = c;
    }

    std::vector<Container> open_;
    char lastSign_ = '\0';
    int lastLine_ = 0;
    std::size_t lastColumn_ = 0;
    int hanging_ = 0; ///< containers so far whose content began on the line that opens them and went on
    std::optional<JSONPosition> flush_;
    std::optional<std::size_t> step_; ///< how far content has been indented so far; none: not at all
};

constexpr std::string_view kKnownMembers[] = {
    "items",     "pluginSettings",     "id",       "name",   "keys", "type",    "action",
    "isEnabled", "pluginID",           "actionID", "params", "path", "command", "openInTerminal",
    "shortcut",  "terminalApplication"};

const JSONValue* follow(const JSONValue* value, const JSONPathStep& step) {
    if (const auto* key = std::get_if<std::string>(&step))
        return value->find(*key);
    const JSONValue::Array* values = value->array();
    const std::size_t index = std::get<std::size_t>(step);
    return values && index < values->size() ? &(*values)[index] : nullptr;
}

std::optional<ConfigDamage> findBrokenNesting(const std::vector<std::string_view>& lines,
                                              JSONPosition failure) {
    if (areBracketsBalanced(lines))
        return std::nullopt;
    NestingReader reader;
    std::optional<JSONPosition> place;
    for (int number = 1; !place && number <= failure.line; ++number)
        place = reader.read(lines[static_cast<std::size_t>(number) - 1], number);
    if (!place)
        place = reader.doubtful();
    if (!place || place->line >= failure.line)
        return std::nullopt;
    return ConfigDamage{*place, localized("a bracket seems to be missing, or too many, at line %1, where "
                                          "brackets and indentation stop to agree",
                                          {std::to_string(place->line)})};
}

/// What is missing at the end of a line shows on the next one that is not blank.
std::optional<ConfigDamage> findEndBeforeBlankLines(const std::vector<std::string_view>& lines,
                                                    JSONPosition failure) {
    auto number = static_cast<std::size_t>(failure.line) - 1; // of the line before, from 1
    if (number == 0 || number >= lines.size() || !trimmed(lines[number - 1]).empty())
        return std::nullopt;
    const std::string_view after = lines[number];
    const std::size_t start = after.find_first_not_of(" \t\r");
    while (number > 0 && trimmed(lines[number - 1]).empty())
        --number;
    if (number == 0 || start + 1 != static_cast<std::size_t>(failure.column))
        return std::nullopt;
    const char last = trimmed(lines[number - 1]).back(), next = after[start];
    const bool isSomethingMissing = last == ',' ? next == '{' : last != ':' && !isOpener(last);
    if (!isSomethingMissing || !(isOpener(next) || next == '"'))
        return std::nullopt;
    return ConfigDamage{{static_cast<int>(number), static_cast<int>(lines[number - 1].size())},
                        localized("look at the end of line %1", {std::to_string(number)})};
}

} // namespace

std::optional<ConfigDamage> findBrokenText(std::string_view text, JSONPosition failure) {
    const std::vector<std::string_view> lines = split(withoutByteOrderMark(text), '\n');
    if (auto damage = findBrokenNesting(lines, failure))
        return damage;
    return findEndBeforeBlankLines(lines, failure);
}

std::optional<ConfigDamage> findMisspelledMember(std::string_view text, const ConfigFault& fault) {
    const auto root = readJSON(text);
    if (!root)
        return std::nullopt;
    const JSONValue* object = &*root;
    JSONPath path;
    std::vector<std::string> wanted{"pluginID", "actionID"};
    for (const JSONPathStep& step : fault.path) {
        const JSONValue* next = follow(object, step);
        if (!next) {
            if (const auto* key = std::get_if<std::string>(&step))
                wanted.push_back(*key);
            break;
        }
        object = next;
        path.push_back(step);
    }
    if (!object->object())
        return std::nullopt;
    for (const auto& [key, value] : *object->object()) {
        if (std::ranges::find(kKnownMembers, key) != std::end(kKnownMembers))
            continue;
        if (const std::string meant = nearest(key, wanted); !meant.empty()) {
            path.emplace_back(key);
            return ConfigDamage{findJSONPosition(text, path),
                                localized("did you mean \"%1\" by \"%2\"?", {meant, singleLine(key, 40)})};
        }
    }
    return std::nullopt;
}

} // namespace varnel
