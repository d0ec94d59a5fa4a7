#include "base/Localized.h"
#include "cli/ConfigInput.h"
#include "config/ConfigDocument.h"
#include "documents/CheatSheet.h"

#include <utility>

namespace varnel {

namespace {

constexpr std::pair<std::string_view, KeyboardShape> kShapes[] = {
    {"ansi", KeyboardShape::ansi}, {"iso", KeyboardShape::iso}, {"mac", KeyboardShape::mac}};

int run(const VerbCall& call, Console& console) {
    const bool html = call.has("--html"), svg = call.has("--svg");
    if (static_cast<int>(call.has("--md")) + static_cast<int>(html) + static_cast<int>(svg) > 1)
        return fail(console, localized("--md, --html and --svg exclude each other"));
    std::optional<KeyboardShape> shape;
    const std::string named = call.value("--keyboard").value_or("ansi");
    for (const auto& [name, value] : kShapes)
        if (name == named)
            shape = value;
    if (!shape)
        return fail(console, localized("--keyboard: expected ansi, iso or mac, found '%1'", {named}));
    std::optional<std::string> argument;
    if (!call.arguments.empty())
        argument = call.arguments[0];
    const auto file = readConfig(call, argument);
    if (!file)
        return fail(console, file.error());
    const auto document = decodeDocument(file->text);
    if (!document)
        return fail(console, file->path + ": " + describe(document.error()));
    const BindingOutline outline = outlineBindings(document->items);
    console.out.write(svg    ? keyboardPicture(outline, *shape, true)
                      : html ? CheatSheet::html(outline, *shape)
                             : CheatSheet::markdown(outline));
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {
    {"--md", "", "a Markdown document (the default)"},
    {"--html", "", "a page to print or to keep open"},
    {"--svg", "", "a picture of the keyboard with the first keys marked"},
    {"--keyboard", "SHAPE", "the keyboard that is drawn: ansi, iso or mac"},
    kConfigOption,
};

} // namespace

extern const Verb kCheatsheetVerb{.name = "cheatsheet",
                                  .arguments = "[FILE]",
                                  .summary = "prints all bindings as a page or a picture",
                                  .maximumArguments = 1,
                                  .options = kOptions,
                                  .run = run};

} // namespace varnel
