#include "cli/ConfigInput.h"
#include "cli/JSONLine.h"
#include "config/ConfigDocument.h"
#include "keyboard/HotkeyLookupIndex.h"
#include "keyboard/notation/KeyTokenCodec.h"

namespace varnel {

namespace {

int run(const VerbCall& call, Console& console) {
    auto document = loadConfig(call);
    if (!document)
        return fail(console, document.error());
    auto items = std::make_shared<const std::vector<ConfigItem>>(std::move(document->items));
    HotkeyLookupIndex index = HotkeyLookupIndex::build(items);
    std::vector<std::string> sequence = KeyTokenCodec::liveSpelling(call.arguments);

    const ConfigItem* match = index.exactMatch(sequence);
    if (match && match->type != ItemType::action)
        match = nullptr;
    std::vector<std::string> names;
    for (std::uint32_t item : index.itemsForPrefix(sequence))
        names.push_back((*items)[item].name);
    bool isPrefix = !names.empty();

    JSONLine line;
    line.texts("sequence", sequence);
    if (match)
        line.raw("match", JSONLine()
                              .text("id", match->id.text())
                              .text("name", match->name)
                              .text("type", itemTypeName(match->type))
                              .finished());
    else
        line.null("match");
    line.boolean("isPrefix", isPrefix).texts("next", index.nextTokens(sequence)).texts("items", names);
    console.out.line(line.finished());
    return match || isPrefix ? ExitStatus::fine : ExitStatus::no;
}

constexpr VerbOption kOptions[] = {kConfigOption, kJSONOption};

} // namespace

extern const Verb kLookupVerb{.name = "lookup",
                              .arguments = "TOKEN…",
                              .summary = "tells what a sequence of tokens would do",
                              .minimumArguments = 1,
                              .maximumArguments = kAnyNumber,
                              .options = kOptions,
                              .isForPrograms = true,
                              .run = run};

} // namespace varnel
