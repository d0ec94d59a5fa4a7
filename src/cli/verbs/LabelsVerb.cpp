#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "cli/Verb.h"
#include "keyboard/notation/ChoiceLabels.h"

#include <charconv>

namespace varnel {

namespace {

/// More than anybody could type, and little enough to be made at once.
constexpr long long kMaximumLabels = 1'000'000;

int run(const VerbCall& call, Console& console) {
    const std::string& text = call.arguments[0];
    long long count = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count > kMaximumLabels)
        return fail(console, localized("N is a whole number up to %1", {std::to_string(kMaximumLabels)}));
    const std::vector<std::string> labels = ChoiceLabels::labels(count, call.has("--full"));
    if (call.has(kJSONOption.name)) {
        console.out.line(writeCompactJSON(JSONValue::Array(labels.begin(), labels.end())));
        return ExitStatus::fine;
    }
    for (const std::string& label : labels)
        console.out.line(label);
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {{"--full", "", "draw from all letters, not only the home row"},
                                   kJSONOption};

} // namespace

extern const Verb kLabelsVerb{.name = "labels",
                              .arguments = "N",
                              .summary = "prints the labels of N choices",
                              .minimumArguments = 1,
                              .maximumArguments = 1,
                              .options = kOptions,
                              .isForPrograms = true,
                              .run = run};

} // namespace varnel
