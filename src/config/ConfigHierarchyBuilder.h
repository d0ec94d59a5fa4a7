#pragma once

#include "base/TextSearch.h"
#include "config/ConfigItem.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// One group or shortcut of the tree that a person sees.
struct HierarchyNode {
    std::string id;                    ///< the item's, or "group_" and the key path for a group without item
    std::string name;                  ///< for people; a group without item shows its key step
    std::string matchKey;              ///< the key step of this level
    std::vector<std::string> fullKeys; ///< from the top level to this node
    std::optional<ConfigItem> item;    ///< what defines the node
    std::optional<std::vector<HierarchyNode>> children; ///< absent while nothing is beneath the node
    friend bool operator==(const HierarchyNode&, const HierarchyNode&) = default;
};

/// A node in a list with indentation. Points into the tree that was flattened.
struct FlatNode {
    const HierarchyNode* node = nullptr;
    int depth = 0;
};

/// The tree of groups and shortcuts, derived from the flat list. Pure functions.
namespace ConfigHierarchyBuilder {

/// Items with more steps than this are left out of the tree; nobody types them.
inline constexpr std::size_t kMaximumSteps = 512;

using FallbackName = std::function<std::string(const ConfigItem&)>;

/// Steps are compared exactly. Siblings stand in the order of their key paths, groups before what is beneath
/// them whatever the order of the list. Of items with equal keys the last one owns the node. `fallbackName`
/// is asked where an item's name is blank.
std::vector<HierarchyNode> build(const std::vector<ConfigItem>& items, const FallbackName& fallbackName = {});

/// Depth first, parents before children.
std::vector<FlatNode> flatten(const std::vector<HierarchyNode>& roots);

/// Keeps the nodes whose name, keys (joined with "+") or parameter values (joined with spaces) contain
/// `query` by the rules of `search`, and whatever leads to them; an empty query keeps everything. For a
/// search field over a long tree see `ConfigTreeFilter`.
std::vector<HierarchyNode> filter(const std::vector<HierarchyNode>& roots, std::string_view query,
                                  TextSearching& search);
/// What `filter` searches of one node, without those beneath it.
SearchKey searchKey(const HierarchyNode& node, TextSearching& search);

} // namespace ConfigHierarchyBuilder
} // namespace varnel
