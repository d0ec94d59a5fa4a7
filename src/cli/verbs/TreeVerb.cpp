#include "base/Text.h"
#include "cli/ConfigInput.h"
#include "cli/JSONLine.h"
#include "config/ConfigDocument.h"
#include "config/ConfigHierarchyBuilder.h"

namespace varnel {

namespace {

constexpr VerbOption kFilter{"--filter", "TEXT", "only what has this text in its name, keys or parameters"};

std::string jsonOf(const FlatNode& flat) {
    const HierarchyNode& node = *flat.node;
    return JSONLine()
        .number("depth", flat.depth)
        .text("id", node.id)
        .text("name", node.name)
        .text("matchKey", node.matchKey)
        .texts("fullKeys", node.fullKeys)
        .text("type", itemTypeName(node.item ? node.item->type : ItemType::group))
        .boolean("isEnabled", !node.item || node.item->isEnabled)
        .boolean("isDefined", node.item.has_value())
        .finished();
}

void printJSON(const std::vector<FlatNode>& nodes, OutputStream& out) {
    out.write("[");
    for (std::size_t i = 0; i < nodes.size(); ++i)
        out.write((i ? ",\n " : "") + jsonOf(nodes[i]));
    out.line("]");
}

/// "  s  System", with a slash behind a group's name and a remark where something is amiss.
std::string textOf(const FlatNode& flat) {
    const HierarchyNode& node = *flat.node;
    const bool isGroup = !node.item || node.item->type == ItemType::group;
    std::string text(static_cast<std::size_t>(flat.depth) * 2, ' ');
    text += singleLine(node.matchKey, 80);
    if (node.item)
        text += "  " + singleLine(node.name, 200);
    if (isGroup)
        text += "/";
    if (!node.item)
        text += "  (no item)";
    else if (!node.item->isEnabled)
        text += "  (off)";
    return text;
}

int run(const VerbCall& call, Console& console) {
    const auto document = loadConfig(call);
    if (!document)
        return fail(console, document.error());
    PlainTextSearch search;
    std::vector<HierarchyNode> roots = ConfigHierarchyBuilder::build(document->items);
    if (const auto query = call.value(kFilter.name))
        roots = ConfigHierarchyBuilder::filter(roots, *query, search);
    const std::vector<FlatNode> nodes = ConfigHierarchyBuilder::flatten(roots);
    if (call.has(kJSONOption.name)) {
        printJSON(nodes, console.out);
        return ExitStatus::fine;
    }
    for (const FlatNode& node : nodes)
        console.out.line(textOf(node));
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {kFilter, kConfigOption, kJSONOption};

} // namespace

extern const Verb kTreeVerb{.name = "tree",
                            .summary = "shows the groups and shortcuts of a configuration as a tree",
                            .options = kOptions,
                            .run = run};

} // namespace varnel
