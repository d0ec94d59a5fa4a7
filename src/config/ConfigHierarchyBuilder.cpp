#include "config/ConfigHierarchyBuilder.h"

#include "base/JSONWriter.h"
#include "base/Text.h"

#include <algorithm>
#include <memory>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace varnel::ConfigHierarchyBuilder {
namespace {

/// A node while the tree grows: children are found by key, so that long lists of siblings stay cheap.
struct Draft {
    HierarchyNode node;
    std::vector<std::unique_ptr<Draft>> children;
    std::unordered_map<std::string, Draft*> childByKey;
};

/// The items in the order of insertion: fewer steps first, then by their keys.
std::vector<const ConfigItem*> inserted(const std::vector<ConfigItem>& items) {
    struct Sorted {
        std::size_t steps;
        std::string joined;
        const ConfigItem* item;
    };
    std::vector<Sorted> sorted;
    for (const ConfigItem& item : items)
        if (!item.keys.empty() && item.keys.size() <= kMaximumSteps)
            sorted.push_back({item.keys.size(), join(item.keys, ""), &item});
    std::stable_sort(sorted.begin(), sorted.end(), [](const Sorted& a, const Sorted& b) {
        return std::tie(a.steps, a.joined) < std::tie(b.steps, b.joined);
    });
    std::vector<const ConfigItem*> order;
    order.reserve(sorted.size());
    for (const Sorted& each : sorted)
        order.push_back(each.item);
    return order;
}

std::string displayName(const ConfigItem& item, const FallbackName& fallbackName) {
    const std::string_view own = trimmed(item.name);
    if (!own.empty() || !fallbackName)
        return std::string(own);
    return std::string(trimmed(fallbackName(item)));
}

/// A group that no item defines so far, for the first `depth` + 1 steps.
HierarchyNode undefinedGroup(const ConfigItem& item, std::size_t depth) {
    const auto end = item.keys.begin() + static_cast<std::ptrdiff_t>(depth) + 1;
    HierarchyNode node;
    node.fullKeys.assign(item.keys.begin(), end);
    node.id = "group_" + join(node.fullKeys, "+");
    node.name = node.matchKey = item.keys[depth];
    return node;
}

void insert(Draft& root, const ConfigItem& item, const FallbackName& fallbackName) {
    Draft* parent = &root;
    for (std::size_t depth = 0; depth < item.keys.size(); ++depth) {
        Draft*& place = parent->childByKey[item.keys[depth]];
        const bool isNew = !place;
        if (isNew) {
            parent->children.push_back(std::make_unique<Draft>());
            place = parent->children.back().get();
            place->node = undefinedGroup(item, depth);
        }
        parent = place;
        if (depth + 1 < item.keys.size())
            continue;
        if (isNew)
            parent->node.id = item.id.text();
        parent->node.item = item;
        parent->node.name = displayName(item, fallbackName);
    }
}

std::vector<HierarchyNode> finished(std::vector<std::unique_ptr<Draft>>& drafts) {
    std::vector<HierarchyNode> nodes;
    nodes.reserve(drafts.size());
    for (const auto& draft : drafts) {
        if (!draft->children.empty())
            draft->node.children = finished(draft->children);
        nodes.push_back(std::move(draft->node));
    }
    return nodes;
}

void flattenInto(std::vector<FlatNode>& out, const std::vector<HierarchyNode>& nodes, int depth) {
    for (const HierarchyNode& node : nodes) {
        out.push_back({&node, depth});
        if (node.children)
            flattenInto(out, *node.children, depth + 1);
    }
}

/// A parameter's value as the file shows it; text without its quotes.
std::string searchText(const JSONValue& value) {
    return value.string() ? *value.string() : writeCompactJSON(value);
}

std::vector<HierarchyNode> kept(const std::vector<HierarchyNode>& nodes, const SearchKey& query,
                                TextSearching& search) {
    std::vector<HierarchyNode> result;
    for (const HierarchyNode& node : nodes) {
        std::vector<HierarchyNode> children;
        if (node.children)
            children = kept(*node.children, query, search);
        if (children.empty() && !searchKey(node, search).contains(query))
            continue;
        HierarchyNode copy{node.id, node.name, node.matchKey, node.fullKeys, node.item, std::nullopt};
        if (node.children)
            copy.children = std::move(children);
        result.push_back(std::move(copy));
    }
    return result;
}

} // namespace

std::vector<HierarchyNode> build(const std::vector<ConfigItem>& items, const FallbackName& fallbackName) {
    Draft root;
    for (const ConfigItem* item : inserted(items))
        insert(root, *item, fallbackName);
    return finished(root.children);
}

std::vector<FlatNode> flatten(const std::vector<HierarchyNode>& roots) {
    std::vector<FlatNode> out;
    flattenInto(out, roots, 0);
    return out;
}

std::vector<HierarchyNode> filter(const std::vector<HierarchyNode>& roots, std::string_view query,
                                  TextSearching& search) {
    return kept(roots, search.key(query), search);
}

SearchKey searchKey(const HierarchyNode& node, TextSearching& search) {
    SearchKey key = search.key(node.name);
    key.append(search.key(join(node.fullKeys, "+")));
    if (!node.item || !node.item->action)
        return key;
    std::vector<std::string> values;
    for (const auto& parameter : node.item->action->params)
        values.push_back(searchText(parameter.second));
    key.append(search.key(join(values, " ")));
    return key;
}

} // namespace varnel::ConfigHierarchyBuilder
