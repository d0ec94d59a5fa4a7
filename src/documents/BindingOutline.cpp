#include "documents/BindingOutline.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "config/ConfigHierarchyBuilder.h"
#include "documents/ActionPhrase.h"
#include "documents/KeyCaps.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <map>
#include <utility>

namespace varnel {
namespace {

constexpr std::size_t kLongestName = 120;
using Steps = std::vector<std::string>;

/// How much an item's claim to its trigger weighs: the engine runs the first enabled action.
int rank(const ConfigItem& item) {
    if (item.type == ItemType::group)
        return 1;
    return item.isEnabled ? 2 : 0;
}

/// The items in live spelling, one for each trigger.
std::vector<ConfigItem> effective(const std::vector<ConfigItem>& items) {
    std::vector<ConfigItem> kept;
    std::map<Steps, std::size_t> places;
    for (const ConfigItem& item : items) {
        if (item.keys.empty())
            continue;
        ConfigItem copy = item;
        copy.keys = KeyTokenCodec::liveSpelling(item.keys);
        const auto [known, isNew] = places.emplace(copy.keys, kept.size());
        if (isNew)
            kept.push_back(std::move(copy));
        else if (rank(copy) > rank(kept[known->second]))
            kept[known->second] = std::move(copy);
    }
    return kept;
}

std::string shownName(const HierarchyNode& node) {
    return node.item ? std::string(trimmed(singleLine(node.item->name, kLongestName))) : std::string();
}

/// Whether the name alone tells what the phrase does.
bool says(const std::string& name, const std::string& phrase) {
    return phrase == name || phrase == localized("Open %1", {name}) || phrase == localized("Run: %1", {name});
}

bool isAction(const HierarchyNode& node) {
    return node.item && node.item->type == ItemType::action;
}

bool holdsActions(const HierarchyNode& node) {
    return isAction(node) || (node.children && std::ranges::any_of(*node.children, holdsActions));
}

/// A step on the way to one thing only, which nobody gave a name.
bool isPassage(const HierarchyNode& node) {
    return !node.item && node.children && node.children->size() == 1;
}

class OutlineWriter {
public:
    explicit OutlineWriter(BindingOutline& outline)
        : outline_(outline) {}

    /// Rows of the section first, so that the groups inside it follow them.
    void write(const std::vector<HierarchyNode>& nodes, std::size_t section, int depth) {
        for (const HierarchyNode& node : nodes)
            addRows(node, section);
        for (const HierarchyNode& node : nodes)
            addSections(node, depth);
    }

private:
    void addRows(const HierarchyNode& node, std::size_t section) {
        if (isPassage(node)) {
            addRows(node.children->front(), section);
            return;
        }
        if (!isAction(node))
            return;
        BindingSection& target = outline_.sections[section];
        BindingRow row;
        row.steps.assign(node.fullKeys.begin() + static_cast<std::ptrdiff_t>(target.trigger.size()),
                         node.fullKeys.end());
        row.name = shownName(node);
        row.phrase = actionPhrase(*node.item);
        if (row.name.empty())
            row.name = std::exchange(row.phrase, {});
        else if (says(row.name, row.phrase))
            row.phrase.clear();
        row.isEnabled = node.item->isEnabled;
        target.rows.push_back(std::move(row));
        ++outline_.bindings;
    }

    void addSections(const HierarchyNode& node, int depth) {
        if (isPassage(node)) {
            addSections(node.children->front(), depth);
            return;
        }
        if (!node.children || !std::ranges::any_of(*node.children, holdsActions))
            return;
        BindingSection section;
        section.trigger = node.fullKeys;
        section.depth = depth;
        if (node.item && node.item->type == ItemType::group) {
            section.name = shownName(node);
            if (section.name == KeyCaps::triggerText(node.fullKeys))
                section.name.clear();
            section.isEnabled = node.item->isEnabled;
            section.passesThrough = node.item->allowsPassthroughPrefix.value_or(false);
        }
        outline_.sections.push_back(std::move(section));
        write(*node.children, outline_.sections.size() - 1, depth + 1);
    }

    BindingOutline& outline_;
};

std::vector<FirstStep> firstSteps(const std::vector<ConfigItem>& items,
                                  const std::vector<HierarchyNode>& roots) {
    std::vector<FirstStep> steps;
    std::map<std::string, std::size_t> counts;
    for (const ConfigItem& item : items)
        if (item.type == ItemType::action && item.isEnabled)
            ++counts[item.keys.front()];
    for (const HierarchyNode& root : roots) {
        const auto count = counts.find(root.matchKey);
        if (count == counts.end())
            continue;
        const bool runs = isAction(root) && root.item->isEnabled;
        std::string name = shownName(root);
        if (runs && name.empty())
            name = actionPhrase(*root.item);
        else if (!runs && isAction(root))
            name.clear();
        steps.push_back({root.matchKey, std::move(name), !runs, runs ? 1 : count->second});
    }
    return steps;
}

} // namespace

BindingOutline outlineBindings(const std::vector<ConfigItem>& items) {
    const std::vector<ConfigItem> kept = effective(items);
    const std::vector<HierarchyNode> roots = ConfigHierarchyBuilder::build(kept);
    BindingOutline outline;
    outline.sections.emplace_back();
    OutlineWriter(outline).write(roots, 0, 0);
    if (outline.sections.front().rows.empty())
        outline.sections.erase(outline.sections.begin());
    outline.firstSteps = firstSteps(kept, roots);
    return outline;
}

} // namespace varnel
