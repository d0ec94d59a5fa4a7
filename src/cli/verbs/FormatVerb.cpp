#include "base/Localized.h"
#include "cli/ConfigInput.h"
#include "config/ConfigDocument.h"

namespace varnel {

namespace {

int run(const VerbCall& call, Console& console) {
    bool write = call.has("--write"), check = call.has("--check");
    std::optional<std::string> argument;
    if (!call.arguments.empty())
        argument = call.arguments[0];
    if (write && check)
        return fail(console, localized("--write and --check exclude each other"));
    auto file = readConfig(call, argument);
    if (!file)
        return fail(console, file.error());
    if (write && file->path == "-")
        return fail(console, localized("--write needs a file"));
    auto document = decodeDocument(file->text);
    if (!document)
        return fail(console, file->path + ": " + describe(document.error()));
    auto canonical = encodeDocument(document->items, document->pluginSettings);
    if (!canonical)
        return fail(console, file->path + ": " + describe(canonical.error()));
    bool isCanonical = file->text == *canonical || file->text == *canonical + "\n";
    if (check) {
        if (!isCanonical)
            console.complain(localized("%1 is not in its canonical form", {file->path}));
        return isCanonical ? ExitStatus::fine : ExitStatus::no;
    }
    if (!write) {
        console.out.line(*canonical);
        return ExitStatus::fine;
    }
    if (isCanonical)
        return ExitStatus::fine;
    if (auto saved = saveConfig(file->path, *canonical); !saved)
        return fail(console, saved.error());
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {
    {"--write", "", "save the canonical form, with a backup"},
    {"--check", "", "only say whether the file is in its canonical form"},
    kConfigOption,
};

} // namespace

extern const Verb kFormatVerb{.name = "format",
                              .arguments = "[FILE]",
                              .summary = "prints a configuration in its canonical form",
                              .maximumArguments = 1,
                              .options = kOptions,
                              .run = run};

} // namespace varnel
