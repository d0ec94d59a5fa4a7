#include "cli/CommandLine.h"

#include "base/Localization.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "cli/Verbs.h"

#include <algorithm>
#include <cstring>

namespace varnel {

namespace {

constexpr VerbOption kHelpOption{"--help", "", "show this help"};

std::string quoted(std::string_view text) {
    return "'" + singleLine(text, 60) + "'";
}

/// "unknown option '--jsn'; did you mean '--json'?"
UsageError unknown(const std::string& message, std::string_view word, const std::vector<std::string>& known) {
    const std::string near = nearestOfAll(word, known);
    return {near.empty() ? message : localized("%1; did you mean '%2'?", {message, near})};
}

/// A lone dash is standard input, and a dash before a digit begins a number.
bool looksLikeOption(std::string_view word) {
    return word.size() > 1 && word[0] == '-' && !(word[1] >= '0' && word[1] <= '9');
}

const VerbOption* findOption(const Verb& verb, std::string_view name) {
    for (const VerbOption& option : verb.options)
        if (option.name == name)
            return &option;
    return name == "--help" || name == "-h" ? &kHelpOption : nullptr;
}

UsageError unknownOption(const Verb& verb, std::string_view name) {
    std::vector<std::string> known{std::string(kHelpOption.name)};
    for (const VerbOption& option : verb.options)
        known.emplace_back(option.name);
    return unknown(localized("unknown option %1", {quoted(name)}), name, known);
}

/// Takes the option at `words[index]`, and its value where it needs one; moves `index` to its last word.
std::expected<void, UsageError> takeOption(const Verb& verb, std::span<const std::string> words,
                                           std::size_t& index, VerbCall& call) {
    std::string_view word = words[index];
    std::size_t equals = word.find('=');
    std::string_view name = word.substr(0, equals);
    const VerbOption* option = findOption(verb, name);
    if (!option)
        return std::unexpected(unknownOption(verb, name));
    std::string value;
    if (option->value.empty()) {
        if (equals != word.npos)
            return std::unexpected(UsageError{localized("option '%1' takes no value", {name})});
    } else if (equals != word.npos) {
        value = word.substr(equals + 1);
    } else if (index + 1 < words.size()) {
        value = words[++index];
    } else {
        return std::unexpected(UsageError{localized("option '%1' needs a value: %2", {name, option->value})});
    }
    call.options.emplace_back(std::string(option->name), std::move(value));
    return {};
}

/// Columns of a list: the left one padded so that all right ones begin at the same place.
void appendRows(std::string& out, const std::vector<std::pair<std::string, std::string>>& rows) {
    std::size_t width = 0;
    for (const auto& [left, right] : rows)
        width = std::max(width, left.size());
    for (const auto& [left, right] : rows)
        out.append("  ").append(left).append(width + 2 - left.size(), ' ').append(right).append("\n");
}

int finish(int status, Console& console) {
    console.out.flush();
    if (int error = console.out.failure()) {
        console.complain(localized("cannot write standard output: %1", {std::strerror(error)}));
        return ExitStatus::failed;
    }
    return status;
}

int failUsage(Console& console, const UsageError& error, std::string_view verbName) {
    console.complain(error.message);
    const std::string call = "varnel" + (verbName.empty() ? "" : " " + std::string(verbName)) + " --help";
    console.err.line(localized("Try '%1'.", {call}));
    return ExitStatus::failed;
}

int runVerb(const Verb& verb, const std::vector<std::string>& words, std::size_t firstWord,
            Console& console) {
    auto call = parseCall(verb, std::span(words).subspan(firstWord));
    if (!call)
        return failUsage(console, call.error(), verb.name);
    if (call->has("--help")) {
        console.out.write(helpText(verb));
        return finish(ExitStatus::fine, console);
    }
    call->program = words[0];
    // What programs read is the same in every language.
    const EnglishTexts forPrograms(verb.isForPrograms || call->has(kJSONOption.name) || call->has("--sarif"));
    return finish(verb.run(*call, console), console);
}

} // namespace

bool VerbCall::has(std::string_view option) const {
    return std::ranges::any_of(options, [&](const auto& given) { return given.first == option; });
}

std::optional<std::string> VerbCall::value(std::string_view option) const {
    for (auto given = options.rbegin(); given != options.rend(); ++given)
        if (given->first == option)
            return given->second;
    return std::nullopt;
}

std::expected<VerbCall, UsageError> parseCall(const Verb& verb, std::span<const std::string> words) {
    VerbCall call;
    bool optionsOver = false;
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (!optionsOver && words[index] == "--") {
            optionsOver = true;
        } else if (!optionsOver && looksLikeOption(words[index])) {
            if (auto taken = takeOption(verb, words, index, call); !taken)
                return std::unexpected(taken.error());
        } else {
            call.arguments.push_back(words[index]);
        }
    }
    if (call.has("--help"))
        return call;
    if (call.arguments.size() < verb.minimumArguments)
        return std::unexpected(UsageError{localized("%1 needs %2", {verb.name, verb.arguments})});
    if (call.arguments.size() > verb.maximumArguments)
        return std::unexpected(
            UsageError{localized("unexpected argument %1", {quoted(call.arguments[verb.maximumArguments])})});
    return call;
}

std::string helpText(const Verb& verb) {
    std::string usage(verb.name);
    if (!verb.arguments.empty())
        usage.append(" ").append(verb.arguments);
    std::string text =
        localized("Usage: varnel %1 [options]\n\n%2\n\nOptions:\n", {usage, localized(verb.summary)});
    std::vector<std::pair<std::string, std::string>> rows;
    auto add = [&](const VerbOption& option) {
        std::string left(option.name);
        if (!option.value.empty())
            left.append(" ").append(option.value);
        rows.emplace_back(std::move(left), localized(option.help));
    };
    std::ranges::for_each(verb.options, add);
    add(kHelpOption);
    appendRows(text, rows);
    return text;
}

std::string helpText(std::span<const Verb* const> verbs) {
    std::string text = localized("Usage: varnel [verb] [arguments] [options]\n\n"
                                 "Without a verb the application starts.\n\nVerbs:\n");
    std::vector<std::pair<std::string, std::string>> rows;
    for (const Verb* verb : verbs)
        rows.emplace_back(verb->name, localized(verb->summary));
    appendRows(text, rows);
    text +=
        localized("\n'varnel VERB --help' tells more. Exit status: 0 fine, 1 the answer is no or there are\n"
                  "warnings, 2 the call or the input is wrong.\n");
    return text;
}

int runCommandLine(const std::vector<std::string>& words, Console& console) {
    std::string_view first = words.size() > 1 ? std::string_view(words[1]) : std::string_view();
    if (first == "--help" || first == "-h" || first == "help") {
        console.out.write(helpText(allVerbs()));
        return finish(ExitStatus::fine, console);
    }
    if (first == "--version") {
        console.out.line("varnel " VARNEL_VERSION);
        return finish(ExitStatus::fine, console);
    }
    if (first.empty() || looksLikeOption(first))
        return runVerb(*findVerb("run"), words, std::min<std::size_t>(1, words.size()), console);
    if (const Verb* verb = findVerb(first))
        return runVerb(*verb, words, 2, console);
    std::vector<std::string> known;
    for (const Verb* verb : allVerbs())
        known.emplace_back(verb->name);
    return failUsage(console, unknown(localized("unknown verb %1", {quoted(first)}), first, known), "");
}

} // namespace varnel
