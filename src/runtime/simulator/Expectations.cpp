#include "runtime/simulator/Expectations.h"

#include "base/JSONReader.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "keyboard/notation/KeyTokenCodec.h"
#include "runtime/simulator/Simulator.h"

#include <algorithm>
#include <expected>
#include <utility>

namespace varnel::simulation {
namespace {

constexpr std::string_view kArrow = "->", kNothing = "nothing";

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

std::string quoted(std::string_view text) {
    return "\"" + singleLine(text, 60) + "\"";
}

std::string_view withoutComment(std::string_view line) {
    bool isQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"' && (i == 0 || line[i - 1] != '\\'))
            isQuoted = !isQuoted;
        if (line[i] == '#' && !isQuoted && (i == 0 || isSpace(line[i - 1])))
            return line.substr(0, i);
    }
    return line;
}

std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> found;
    std::string word;
    for (const char c : text) {
        if (!isSpace(c))
            word += c;
        else if (!word.empty())
            found.push_back(std::exchange(word, {}));
    }
    if (!word.empty())
        found.push_back(std::move(word));
    return found;
}

/// Why no keyboard types this key; empty when one does.
std::string whyNotTypable(const std::string& key) {
    if (!KeyTokenCodec::isModifierOnly(key))
        return KeyTokenCodec::explain(key);
    if (modifierNamed(KeyTokenCodec::liveSpelling(key)))
        return {};
    return localized("bare modifiers are tapped one at a time: %1", {quoted(key)});
}

/// An empty line gives an expectation without keys.
std::expected<Expectation, std::string> parseLine(std::string_view line) {
    line = trimmed(withoutComment(line));
    Expectation parsed;
    if (line.empty())
        return parsed;
    const std::size_t arrow = line.find(kArrow);
    if (arrow == std::string_view::npos)
        return std::unexpected(localized("\"->\" is missing. Write keys -> name, or keys -> nothing."));
    parsed.keys = words(line.substr(0, arrow));
    if (parsed.keys.empty())
        return std::unexpected(localized("there are no keys before \"->\"."));
    for (const std::string& key : parsed.keys)
        if (const std::string reason = whyNotTypable(key); !reason.empty())
            return std::unexpected(reason + ".");
    const std::string_view name = trimmed(line.substr(arrow + kArrow.size()));
    if (name.empty())
        return std::unexpected(localized("there is no name after \"->\". Write nothing where nothing runs."));
    if (name.starts_with('"')) {
        const auto text = readJSON(name);
        if (!text || !text->string())
            return std::unexpected(localized("the name %1 is not quoted correctly.", {quoted(name)}));
        parsed.name = *text->string();
    } else if (name != kNothing) {
        parsed.name = name;
    }
    return parsed;
}

/// What came of typing one expectation's keys.
struct Outcome {
    struct Run {
        std::string name;
        std::size_t step; ///< counted from 1
    };
    std::vector<Run> runs;
    std::optional<Record> last;
};

/// Types all expectations in one run. Suspending and resuming in between ends whatever is open.
class Typing {
public:
    Typing(const std::vector<Expectation>& expectations, const ConfigItems& items)
        : outcomes_(expectations.size()) {
        for (std::size_t index = 0; index < expectations.size(); ++index) {
            // One choice only is taken at once, so that actions that ask run too.
            for (const char* line : {"suspend expectation", "resume expectation", "choices \"the only one\""})
                add(line, index, 0);
            const std::vector<std::string>& keys = expectations[index].keys;
            for (std::size_t step = 0; step < keys.size(); ++step)
                add((KeyTokenCodec::isModifierOnly(keys[step]) ? "tap " : "press ") + keys[step], index,
                    step + 1);
        }
        played_ = simulate(
            script_, items, [](const std::string&) { return std::unexpected(std::string()); },
            [this](const Record& record) { note(record); });
    }

    [[nodiscard]] const std::vector<Outcome>& outcomes() const { return outcomes_; }
    [[nodiscard]] const std::expected<void, ScriptError>& played() const { return played_; }

private:
    struct Line {
        std::size_t expectation, step;
    };

    void add(const std::string& statement, std::size_t expectation, std::size_t step) {
        script_ += statement + "\n";
        lines_.push_back({expectation, step});
    }

    void note(const Record& record) {
        const Line& line = lines_[record.line - 1];
        Outcome& outcome = outcomes_[line.expectation];
        if (record.runs)
            outcome.runs.push_back({record.runs->name, line.step});
        if (record.event == Record::Event::keyDown || !record.tokens.empty())
            outcome.last = record;
    }

    std::string script_;
    std::vector<Line> lines_; ///< of the script
    std::vector<Outcome> outcomes_;
    std::expected<void, ScriptError> played_;
};

/// What ran, with the key that ran it.
std::string describeRun(const Outcome::Run& run, const Expectation& expected) {
    if (run.step == expected.keys.size())
        return localized("%1 runs", {quoted(run.name)});
    return localized("%1 runs already at %2", {quoted(run.name), quoted(expected.keys[run.step - 1])});
}

std::string describeNothing(const Outcome& outcome, const Expectation& expected) {
    if (!outcome.last || outcome.last->tokens.empty())
        return localized("nothing runs");
    const Record& last = *outcome.last;
    const std::string key = quoted(expected.keys.back());
    if (last.state == Interaction::capture || last.state == Interaction::pendingPassthrough)
        return localized("nothing runs yet: %1 may follow", {join(last.hints, ", ")});
    if (last.swallowed)
        return localized("nothing runs: %1 fits nothing there and ends the sequence", {key});
    return localized("nothing runs: %1 begins no trigger and reaches the application", {key});
}

/// Empty when it went as expected.
std::string whatHappenedInstead(const Expectation& expected, const Outcome& outcome) {
    const bool asExpected = expected.name
                                ? outcome.runs.size() == 1 && outcome.runs[0].step == expected.keys.size() &&
                                      trimmed(outcome.runs[0].name) == trimmed(*expected.name)
                                : outcome.runs.empty();
    if (asExpected)
        return {};
    if (outcome.runs.empty())
        return describeNothing(outcome, expected);
    std::vector<std::string> runs;
    runs.reserve(outcome.runs.size());
    for (const Outcome::Run& run : outcome.runs)
        runs.push_back(describeRun(run, expected));
    return join(runs, ", ");
}

} // namespace

ExpectationsFile parseExpectations(std::string_view text) {
    ExpectationsFile file;
    int number = 0;
    for (const std::string_view line : split(text, '\n')) {
        ++number;
        const auto start = static_cast<int>(std::ranges::find_if_not(line, isSpace) - line.begin());
        auto parsed = parseLine(line);
        if (!parsed)
            file.errors.push_back(
                makeDiagnostic(RuleID::invalidExpectation,
                               localized("The expectation cannot be understood: %1", {parsed.error()}), "",
                               {number, start + 1}));
        else if (!parsed->keys.empty()) {
            parsed->position = {number, start + 1};
            file.expectations.push_back(std::move(*parsed));
        }
    }
    return file;
}

std::vector<Diagnostic> checkExpectations(std::string_view text, const std::string& file,
                                          const ConfigItems& items) {
    ExpectationsFile parsed = parseExpectations(text);
    std::vector<Diagnostic> found = std::move(parsed.errors);
    const Typing typing(parsed.expectations, items);
    if (!typing.played())
        found.push_back(
            makeDiagnostic(RuleID::invalidExpectation, describe(typing.played().error()), "", {}));
    for (std::size_t index = 0; index < parsed.expectations.size() && typing.played(); ++index) {
        const Expectation& expected = parsed.expectations[index];
        const std::string instead = whatHappenedInstead(expected, typing.outcomes()[index]);
        if (instead.empty())
            continue;
        const std::string wanted = expected.name ? localized("%1 was to run", {quoted(*expected.name)})
                                                 : localized("nothing was to run");
        found.push_back(makeDiagnostic(
            RuleID::failedExpectation,
            localized("Typing %1: %2, but %3.", {quoted(join(expected.keys, " ")), wanted, instead}), "",
            expected.position));
    }
    for (Diagnostic& each : found)
        each.path = file;
    std::ranges::stable_sort(found, {}, [](const Diagnostic& each) { return each.position.line; });
    return found;
}

} // namespace varnel::simulation
