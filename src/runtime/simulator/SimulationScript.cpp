#include "runtime/simulator/SimulationScript.h"

#include "base/JSONReader.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace varnel::simulation {
namespace {

constexpr Duration kTapLength = 50ms;
/// Far from where the clock's numbers end.
constexpr Duration kLongestScript = 24h * 365;

using Action = decltype(Statement::action);
using Parsed = std::expected<Action, std::string>;

std::unexpected<std::string> fail(std::string message) {
    return std::unexpected(std::move(message));
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

/// The line up to a `#` that stands at its start or after a blank, outside of quotes.
std::string_view withoutComment(std::string_view line) {
    bool isQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (isQuoted && line[i] == '\\')
            ++i;
        else if (line[i] == '"')
            isQuoted = !isQuoted;
        else if (line[i] == '#' && !isQuoted && (i == 0 || isBlank(line[i - 1])))
            return line.substr(0, i);
    }
    return line;
}

/// Takes the first word off `rest`.
std::string_view takeWord(std::string_view& rest) {
    rest = trimmed(rest);
    std::size_t end = 0;
    while (end < rest.size() && !isBlank(rest[end]))
        ++end;
    const std::string_view word = rest.substr(0, end);
    rest = trimmed(rest.substr(end));
    return word;
}

/// "250ms" or "1.5s"; digits beyond nanoseconds are cut off.
std::optional<Duration> parseDuration(std::string_view text) {
    std::int64_t scale = 0;
    if (text.ends_with("ms")) {
        scale = 1'000'000;
        text.remove_suffix(2);
    } else if (text.ends_with("s")) {
        scale = 1'000'000'000;
        text.remove_suffix(1);
    }
    const std::size_t dot = text.find('.');
    const std::string_view whole = text.substr(0, dot);
    const std::string_view fraction =
        dot == std::string_view::npos ? std::string_view() : text.substr(dot + 1);
    const bool isNumber =
        !whole.empty() && (dot == std::string_view::npos || !fraction.empty()) &&
        (std::string(whole) + std::string(fraction)).find_first_not_of("0123456789") == std::string::npos;
    constexpr std::size_t kMostDigits = 9;
    if (scale == 0 || !isNumber || whole.size() > kMostDigits)
        return std::nullopt;
    std::int64_t nanoseconds = 0;
    for (char digit : whole)
        nanoseconds = nanoseconds * 10 + (digit - '0');
    nanoseconds *= scale;
    for (char digit : fraction) {
        scale /= 10;
        nanoseconds += (digit - '0') * scale;
    }
    return Duration(nanoseconds);
}

std::expected<Duration, std::string> takeDuration(std::string_view& rest) {
    const std::string_view word = takeWord(rest);
    const auto duration = parseDuration(word);
    if (!duration)
        return fail(localized("expected a time such as 250ms or 1.5s, found '%1'", {word}));
    return *duration;
}

std::expected<ParsedKeyToken, std::string> takeKey(std::string_view& rest) {
    const std::string_view word = takeWord(rest);
    if (auto token = KeyTokenCodec::parse(word))
        return *std::move(token);
    if (KeyTokenCodec::isModifierOnly(word))
        return fail(localized("'%1' is a bare modifier; use tap, hold, down or up", {word}));
    return fail(word.empty() ? localized("expected a key") : KeyTokenCodec::explain(word));
}

std::expected<Modifier, std::string> takeModifier(std::string_view& rest) {
    const std::string_view word = takeWord(rest);
    if (auto modifier = modifierNamed(lowercased(word)))
        return *modifier;
    return fail(localized("expected cmd, ctrl, alt or shift, found '%1'", {word}));
}

Parsed parsePress(std::string_view& rest) {
    auto token = takeKey(rest);
    return token ? Parsed(Press{*std::move(token)}) : fail(token.error());
}

Parsed parseKeyDown(std::string_view& rest, bool isRepeat) {
    auto token = takeKey(rest);
    return token ? Parsed(KeyDown{*std::move(token), isRepeat}) : fail(token.error());
}

Parsed parseHold(std::string_view& rest, std::optional<Duration> length) {
    const auto modifier = takeModifier(rest);
    if (!modifier)
        return fail(modifier.error());
    if (length)
        return Hold{*modifier, *length};
    const auto duration = takeDuration(rest);
    return duration ? Parsed(Hold{*modifier, *duration}) : fail(duration.error());
}

Parsed parseModifierChange(std::string_view& rest, bool isDown) {
    const auto modifier = takeModifier(rest);
    return modifier ? Parsed(ModifierChange{*modifier, isDown}) : fail(modifier.error());
}

Parsed parseWait(std::string_view& rest) {
    const auto duration = takeDuration(rest);
    return duration ? Parsed(Wait{*duration}) : fail(duration.error());
}

Parsed parseSet(std::string_view& rest) {
    const std::string_view key = takeWord(rest);
    const std::string_view text = std::exchange(rest, {});
    if (key.empty() || text.empty())
        return fail(localized("expected a preference's key and its value"));
    auto value = readJSON(text);
    if (!value)
        return fail(localized("the value is no JSON: %1", {varnel::describe(value.error())}));
    return SetPreference{std::string(key), *std::move(value)};
}

/// What is left of the line, as one text.
std::expected<std::string, std::string> takeRest(std::string_view& rest, const std::string& whatIsMissing) {
    const std::string_view text = std::exchange(rest, {});
    if (text.empty())
        return fail(whatIsMissing);
    return std::string(text);
}

Parsed parseSuspension(std::string_view& rest, bool isSuspended) {
    auto reason = takeRest(rest, localized("expected a reason"));
    return reason ? Parsed(Suspension{*std::move(reason), isSuspended}) : fail(reason.error());
}

Parsed parseReload(std::string_view& rest) {
    auto path = takeRest(rest, localized("expected the path of a configuration"));
    return path ? Parsed(Reload{*std::move(path)}) : fail(path.error());
}

Parsed parseChoices(std::string_view& rest) {
    Choices choices;
    while (!rest.empty()) {
        std::size_t end = 1;
        while (end < rest.size() && rest[end] != '"')
            end += rest[end] == '\\' ? 2 : 1;
        const auto title =
            rest.front() == '"' && end < rest.size() ? readJSON(rest.substr(0, end + 1)) : JSONValue();
        if (!title || !title->string())
            return fail(localized("expected titles in quotes"));
        choices.titles.push_back(*title->string());
        rest = trimmed(rest.substr(end + 1));
    }
    return choices;
}

Parsed parseStatement(std::string_view verb, std::string_view& rest) {
    if (verb == "press")
        return parsePress(rest);
    if (verb == "tap")
        return parseHold(rest, kTapLength);
    if (verb == "hold")
        return parseHold(rest, std::nullopt);
    if (verb == "down" || verb == "up")
        return parseModifierChange(rest, verb == "down");
    if (verb == "key" || verb == "repeat")
        return parseKeyDown(rest, verb == "repeat");
    if (verb == "wait")
        return parseWait(rest);
    if (verb == "set")
        return parseSet(rest);
    if (verb == "suspend" || verb == "resume")
        return parseSuspension(rest, verb == "suspend");
    if (verb == "reload")
        return parseReload(rest);
    if (verb == "choices")
        return parseChoices(rest);
    const std::string near = nearest(verb, {"press", "tap", "hold", "down", "up", "key", "repeat", "wait",
                                            "set", "suspend", "resume", "reload", "choices"});
    const std::string unknown = localized("unknown statement '%1'", {verb});
    return fail(near.empty() ? unknown : localized("%1; did you mean '%2'?", {unknown, near}));
}

Duration lengthOf(const Action& action) {
    if (const auto* wait = std::get_if<Wait>(&action))
        return wait->duration;
    if (const auto* hold = std::get_if<Hold>(&action))
        return hold->duration;
    return {};
}

} // namespace

std::string describe(const ScriptError& error) {
    return localized("line %1: %2", {std::to_string(error.line), error.message});
}

std::expected<std::vector<Statement>, ScriptError> parseScript(std::string_view script) {
    std::vector<Statement> statements;
    std::size_t number = 0;
    Duration total{};
    if (script.starts_with("\xEF\xBB\xBF"))
        script.remove_prefix(3);
    for (std::string_view line : split(script, '\n')) {
        ++number;
        std::string_view rest = withoutComment(line);
        const std::string_view verb = takeWord(rest);
        if (verb.empty())
            continue;
        auto action = parseStatement(verb, rest);
        if (action && !rest.empty())
            action = fail(localized("unexpected '%1'", {rest}));
        if (action)
            total += lengthOf(*action);
        if (total > kLongestScript && action)
            action = fail(localized("the script takes too long"));
        if (!action)
            return std::unexpected(ScriptError{number, action.error()});
        statements.push_back({number, *std::move(action)});
    }
    return statements;
}

} // namespace varnel::simulation
