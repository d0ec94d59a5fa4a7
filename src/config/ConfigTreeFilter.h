#pragma once

#include "base/TextSearch.h"
#include "config/ConfigHierarchyBuilder.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace varnel {

/// A search field over one tree: remembers what each node is searched by, so that a long tree is filtered
/// between two keys typed. Thread of its `TextSearching`.
class ConfigTreeFilter {
public:
    /// Both outlive the filter, and the tree doesn't change; another tree needs another filter. Making one
    /// costs a multiple of filtering, so make it when the search begins, not at each key.
    ConfigTreeFilter(const std::vector<HierarchyNode>& roots, TextSearching& search);

    /// The list that `flatten(filter(roots, query))` describes; points into the tree.
    [[nodiscard]] std::vector<FlatNode> visible(std::string_view query) const;

private:
    /// A node of the flattened tree.
    struct Entry {
        FlatNode flat;
        std::size_t parent; ///< its place in `entries_`; its own at the top
        SearchKey key;
    };
    TextSearching& search_;
    std::vector<Entry> entries_;
};

} // namespace varnel
