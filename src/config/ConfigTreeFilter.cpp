#include "config/ConfigTreeFilter.h"

namespace varnel {

ConfigTreeFilter::ConfigTreeFilter(const std::vector<HierarchyNode>& roots, TextSearching& search)
    : search_(search) {
    const std::vector<FlatNode> nodes = ConfigHierarchyBuilder::flatten(roots);
    entries_.reserve(nodes.size());
    std::vector<std::size_t> path; // the places of the nodes that lead to the present one
    for (const FlatNode& flat : nodes) {
        path.resize(static_cast<std::size_t>(flat.depth));
        path.push_back(entries_.size());
        const std::size_t parent = path.size() > 1 ? path[path.size() - 2] : entries_.size();
        entries_.push_back({flat, parent, ConfigHierarchyBuilder::searchKey(*flat.node, search)});
    }
}

std::vector<FlatNode> ConfigTreeFilter::visible(std::string_view query) const {
    const SearchKey wanted = search_.key(query);
    std::vector<bool> kept(entries_.size());
    for (std::size_t i = entries_.size(); i-- > 0;) {
        if (!kept[i])
            kept[i] = entries_[i].key.contains(wanted);
        if (kept[i])
            kept[entries_[i].parent] = true;
    }
    std::vector<FlatNode> nodes;
    for (std::size_t i = 0; i < entries_.size(); ++i)
        if (kept[i])
            nodes.push_back(entries_[i].flat);
    return nodes;
}

} // namespace varnel
