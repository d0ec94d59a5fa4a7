#include "base/Localized.h"
#include "cli/ConfigInput.h"
#include "cli/verbs/ConflictLine.h"

namespace varnel {

namespace {

constexpr VerbOption kExcept{"--except", "ID", "leave out the item with this identifier"};

int run(const VerbCall& call, Console& console) {
    std::optional<Uuid> excluded;
    if (const auto text = call.value(kExcept.name)) {
        excluded = Uuid::parse(*text);
        if (!excluded)
            return fail(console,
                        localized("--except needs an identifier of 36 characters, not '%1'", {*text}));
    }
    const auto document = loadConfig(call);
    if (!document)
        return fail(console, document.error());
    const auto conflict = findTriggerConflict(call.arguments, excluded, document->items);
    if (!conflict)
        return ExitStatus::fine;
    console.out.line(conflictLine(*conflict));
    return ExitStatus::no;
}

constexpr VerbOption kOptions[] = {kExcept, kConfigOption, kJSONOption};

} // namespace

extern const Verb kConflictVerb{.name = "conflict",
                                .arguments = "TOKEN…",
                                .summary = "tells which item has a trigger already",
                                .minimumArguments = 1,
                                .maximumArguments = kAnyNumber,
                                .options = kOptions,
                                .isForPrograms = true,
                                .run = run};

} // namespace varnel
