#include "base/Localized.h"
#include "base/Text.h"
#include "cli/ConfigInput.h"
#include "cli/verbs/ConflictLine.h"
#include "config/ConfigDocument.h"
#include "keyboard/notation/KeyTokenCodec.h"

namespace varnel {

namespace {

constexpr VerbOption kFrom{"--from", "KEYS", "the group's trigger, its steps separated by blanks"};
constexpr VerbOption kTo{"--to", "KEYS", "its new trigger"};
constexpr VerbOption kDryRun{"--dry-run", "", "only print how many items would change"};

std::vector<std::string> stepsOf(std::string_view trigger) {
    std::vector<std::string> steps;
    for (const std::string_view step : split(trigger, ' '))
        if (const std::string_view text = trimmed(step); !text.empty())
            steps.emplace_back(text);
    return steps;
}

/// The rewriting follows the letters; a trigger that no keyboard types deserves a word.
void warnOfSteps(const std::vector<std::string>& steps, Console& console) {
    for (const std::string& step : steps)
        if (const std::string reason = KeyTokenCodec::explain(step); !reason.empty())
            console.complain(localized("warning: %1", {reason}));
}

int run(const VerbCall& call, Console& console) {
    const auto from = call.value(kFrom.name), to = call.value(kTo.name);
    if (!from || !to)
        return fail(console, localized("needs --from KEYS and --to KEYS"));
    auto file = readConfig(call);
    if (!file)
        return fail(console, file.error());
    auto document = decodeDocument(file->text);
    if (!document)
        return fail(console, file->path + ": " + describe(document.error()));
    const std::vector<std::string> newKeys = stepsOf(*to);
    const auto result = rewriteGroupTrigger(document->items, stepsOf(*from), newKeys);
    if (!result) {
        console.out.line(conflictLine(result.error()));
        return ExitStatus::no;
    }
    if (result->updatedCount > 0) {
        warnOfSteps(newKeys, console);
        if (!call.has(kDryRun.name)) {
            if (file->path == "-")
                return fail(console, localized("a file is needed to write to, or --dry-run"));
            const auto text = encodeDocument(result->items, document->pluginSettings);
            if (!text)
                return fail(console, file->path + ": " + describe(text.error()));
            if (auto saved = saveConfig(file->path, *text); !saved)
                return fail(console, saved.error());
        }
    }
    console.out.line(std::to_string(result->updatedCount));
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {kFrom, kTo, kDryRun, kConfigOption, kJSONOption};

} // namespace

extern const Verb kRegroupVerb{.name = "regroup",
                               .summary = "gives a group, and everything beneath it, another trigger",
                               .options = kOptions,
                               .run = run};

} // namespace varnel
