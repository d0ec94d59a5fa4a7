#include "keyboard/HotkeyLookupIndex.h"

#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <bit>
#include <unordered_map>
#include <utility>

namespace varnel {
namespace {

constexpr std::uint64_t kHashSeed = 0xCBF29CE484222325;
constexpr std::uint64_t kHashPrime = 0x100000001B3;

constexpr std::uint8_t kPassesFirstKey = 1;
constexpr std::uint8_t kAnyContinuation = 2;
constexpr std::uint8_t kOnGroupPath = 4;

/// The hash of a joined list, extended by the separator and one token.
std::uint64_t extendedHash(std::uint64_t hash, std::string_view token) {
    for (char c : token)
        hash = (hash ^ static_cast<unsigned char>(c)) * kHashPrime;
    return (hash ^ static_cast<unsigned char>(HotkeyLookupIndex::separator)) * kHashPrime;
}

std::size_t slotOf(std::uint64_t hash, std::size_t slotCount) {
    return static_cast<std::size_t>((hash ^ (hash >> 29)) * 0x9E3779B97F4A7C15 >> 20) & (slotCount - 1);
}

const ConfigItems& noItems() {
    static const ConfigItems empty = std::make_shared<const std::vector<ConfigItem>>();
    return empty;
}
const std::shared_ptr<const std::vector<std::string>>& noTokens() {
    static const auto empty = std::make_shared<const std::vector<std::string>>();
    return empty;
}

} // namespace

/// Fills an index: the nodes in the order in which triggers name them, then the lists that need their final
/// number.
class HotkeyLookupIndex::Builder {
public:
    explicit Builder(HotkeyLookupIndex& index)
        : index_(index)
        , items_(*index.items_) {}

    void run() {
        addNodes();
        shrinkTable();
        listItemsBelow();
        markPassthroughGroups();
        collectFirstTokens();
        index_.nodes_.shrink_to_fit();
        index_.tokens_.shrink_to_fit();
    }

private:
    /// The number of the live spelling; each text of the file is translated once.
    std::uint32_t tokenOf(const std::string& text) {
        auto [known, isNew] = byText_.try_emplace(text, kNone);
        if (isNew) {
            std::string live = KeyTokenCodec::liveSpelling(text);
            auto [it, isNewLive] =
                byLive_.try_emplace(std::move(live), static_cast<std::uint32_t>(index_.tokens_.size()));
            if (isNewLive)
                index_.tokens_.push_back(it->first);
            known->second = it->second;
        }
        return known->second;
    }

    void addNodes() {
        leafOf_.assign(items_.size(), kNone);
        hashes_.push_back(kHashSeed);
        lastChild_.push_back(kNone);
        growTable();
        for (std::uint32_t i = 0; i < items_.size(); ++i) {
            const ConfigItem& item = items_[i];
            if (!item.isEnabled || item.keys.empty())
                continue;
            std::uint32_t node = 0;
            for (const std::string& key : item.keys)
                node = childOf(node, tokenOf(key));
            leafOf_[i] = node;
            Node& leaf = index_.nodes_[node];
            std::uint32_t& owner = item.type == ItemType::action ? leaf.action : leaf.group;
            if (owner == kNone)
                owner = i;
        }
    }

    std::uint32_t childOf(std::uint32_t parent, std::uint32_t token) {
        const std::uint64_t hash = extendedHash(hashes_[parent], index_.tokens_[token]);
        std::size_t slot = slotOf(hash, index_.slots_.size());
        for (; index_.slots_[slot] != kNone; slot = (slot + 1) & (index_.slots_.size() - 1)) {
            const Node& node = index_.nodes_[index_.slots_[slot]];
            if (node.parent == parent && node.token == token)
                return index_.slots_[slot];
        }
        const auto added = static_cast<std::uint32_t>(index_.nodes_.size());
        Node node;
        node.parent = parent;
        node.token = token;
        index_.nodes_.push_back(node);
        hashes_.push_back(hash);
        lastChild_.push_back(kNone);
        std::uint32_t& last = lastChild_[parent];
        (last == kNone ? index_.nodes_[parent].firstChild : index_.nodes_[last].nextSibling) = added;
        last = added;
        index_.slots_[slot] = added;
        if (index_.nodes_.size() * 2 > index_.slots_.size())
            growTable();
        return added;
    }

    void growTable() { rehash(std::max<std::size_t>(16, index_.slots_.size() * 2)); }

    /// At most two thirds full: short probes, and a table that fits the configuration.
    void shrinkTable() { rehash(std::bit_ceil(index_.nodes_.size() * 3 / 2 + 1)); }

    void rehash(std::size_t slotCount) {
        index_.slots_ = std::vector<std::uint32_t>(slotCount, kNone);
        for (std::uint32_t node = 1; node < index_.nodes_.size(); ++node) {
            std::size_t slot = slotOf(hashes_[node], slotCount);
            while (index_.slots_[slot] != kNone)
                slot = (slot + 1) & (slotCount - 1);
            index_.slots_[slot] = node;
        }
    }

    template <typename Visit>
    void forEachProperPrefix(std::uint32_t leaf, Visit visit) {
        for (std::uint32_t node = index_.nodes_[leaf].parent; node != 0; node = index_.nodes_[node].parent)
            visit(node);
    }

    void listItemsBelow() {
        std::vector<std::uint32_t> counts(index_.nodes_.size(), 0);
        for (std::uint32_t leaf : leafOf_)
            if (leaf != kNone)
                forEachProperPrefix(leaf, [&](std::uint32_t node) { ++counts[node]; });
        std::uint32_t total = 0;
        for (std::size_t node = 0; node < counts.size(); ++node) {
            index_.nodes_[node].itemsBegin = total;
            total += std::exchange(counts[node], total);
        }
        index_.nodes_.emplace_back().itemsBegin = total;
        index_.prefixItems_.resize(total);
        for (std::uint32_t i = 0; i < leafOf_.size(); ++i)
            if (leafOf_[i] != kNone)
                forEachProperPrefix(leafOf_[i],
                                    [&](std::uint32_t node) { index_.prefixItems_[counts[node]++] = i; });
    }

    void markPassthroughGroups() {
        auto& flags = index_.passthrough_;
        for (std::uint32_t i = 0; i < items_.size(); ++i) {
            const bool isOne = leafOf_[i] != kNone && items_[i].type == ItemType::group &&
                               items_[i].allowsPassthroughPrefix.value_or(false);
            if (!isOne)
                continue;
            flags.resize(index_.nodes_.size(), 0);
            std::uint32_t first = leafOf_[i], second = leafOf_[i];
            while (index_.nodes_[first].parent != 0)
                second = std::exchange(first, index_.nodes_[first].parent);
            flags[first] |= kPassesFirstKey;
            if (first == leafOf_[i])
                flags[first] |= kAnyContinuation;
            else
                flags[second] |= kOnGroupPath;
        }
    }

    void collectFirstTokens() {
        std::vector<std::string> first;
        for (std::uint32_t node = index_.nodes_[0].firstChild; node != kNone;
             node = index_.nodes_[node].nextSibling) {
            const Node& child = index_.nodes_[node];
            if (child.firstChild != kNone || child.action != kNone)
                first.push_back(index_.tokens_[child.token]);
        }
        std::ranges::sort(first);
        index_.firstTokens_ = std::make_shared<const std::vector<std::string>>(std::move(first));
    }

    HotkeyLookupIndex& index_;
    const std::vector<ConfigItem>& items_;
    std::unordered_map<std::string_view, std::uint32_t> byText_;
    std::unordered_map<std::string, std::uint32_t> byLive_;
    std::vector<std::uint64_t> hashes_;    ///< of each node's joined list
    std::vector<std::uint32_t> lastChild_; ///< of each node
    std::vector<std::uint32_t> leafOf_;    ///< of each item
};

HotkeyLookupIndex::HotkeyLookupIndex()
    : items_(noItems())
    , nodes_(2)
    , slots_(1, kNone)
    , firstTokens_(noTokens()) {}

HotkeyLookupIndex HotkeyLookupIndex::build(ConfigItems items) {
    HotkeyLookupIndex index;
    if (!items)
        return index;
    index.items_ = std::move(items);
    index.nodes_.assign(1, Node());
    Builder(index).run();
    return index;
}

const ConfigItem* HotkeyLookupIndex::exactMatch(std::span<const std::string> tokens) const {
    const auto at = find(tokens);
    if (!at)
        return nullptr;
    const ConfigItem* match = action(*at);
    return match ? match : group(*at);
}

std::span<const std::uint32_t> HotkeyLookupIndex::itemsForPrefix(std::span<const std::string> tokens) const {
    const auto at = find(tokens);
    return at ? itemsForPrefix(*at) : std::span<const std::uint32_t>();
}

std::vector<std::string> HotkeyLookupIndex::nextTokens(std::span<const std::string> tokens) const {
    const auto at = find(tokens);
    return at ? nextTokens(*at).sorted() : std::vector<std::string>();
}

HotkeyLookupIndex::Position HotkeyLookupIndex::root() const {
    return {0, kHashSeed};
}

std::optional<HotkeyLookupIndex::Position>
HotkeyLookupIndex::find(std::span<const std::string> tokens) const {
    if (tokens.empty())
        return std::nullopt;
    std::uint64_t hash = kHashSeed;
    for (const std::string& token : tokens)
        hash = extendedHash(hash, token);
    auto spells = [&](std::uint32_t node) {
        for (std::size_t i = tokens.size(); i-- > 0; node = nodes_[node].parent)
            if (node == 0 || tokens_[nodes_[node].token] != tokens[i])
                return false;
        return node == 0;
    };
    for (std::size_t slot = slotOf(hash, slots_.size()); slots_[slot] != kNone;
         slot = (slot + 1) & (slots_.size() - 1))
        if (spells(slots_[slot]))
            return Position{slots_[slot], hash};
    return std::nullopt;
}

std::optional<HotkeyLookupIndex::Position> HotkeyLookupIndex::advance(const Position& from,
                                                                      std::string_view token) const {
    const std::uint64_t hash = extendedHash(from.hash, token);
    for (std::size_t slot = slotOf(hash, slots_.size()); slots_[slot] != kNone;
         slot = (slot + 1) & (slots_.size() - 1)) {
        const Node& node = nodes_[slots_[slot]];
        if (node.parent == from.node && tokens_[node.token] == token)
            return Position{slots_[slot], hash};
    }
    return std::nullopt;
}

bool HotkeyLookupIndex::isPrefix(const Position& at) const {
    return at.node != 0 && nodes_[at.node].firstChild != kNone;
}

const ConfigItem* HotkeyLookupIndex::item(std::uint32_t index) const {
    return index == kNone ? nullptr : &(*items_)[index];
}
const ConfigItem* HotkeyLookupIndex::action(const Position& at) const {
    return item(nodes_[at.node].action);
}
const ConfigItem* HotkeyLookupIndex::group(const Position& at) const {
    return item(nodes_[at.node].group);
}

HotkeyLookupIndex::NextTokens HotkeyLookupIndex::nextTokens(const Position& at) const {
    return {this, at.node == 0 ? kNone : nodes_[at.node].firstChild};
}

std::vector<std::string> HotkeyLookupIndex::tokens(const Position& at) const {
    std::vector<std::string> result;
    for (std::uint32_t node = at.node; node != 0; node = nodes_[node].parent)
        result.push_back(tokens_[nodes_[node].token]);
    std::ranges::reverse(result);
    return result;
}

std::size_t HotkeyLookupIndex::depth(const Position& at) const {
    std::size_t depth = 0;
    for (std::uint32_t node = at.node; node != 0; node = nodes_[node].parent)
        ++depth;
    return depth;
}

std::string_view HotkeyLookupIndex::lastToken(const Position& at) const {
    return at.node == 0 ? std::string_view() : tokens_[nodes_[at.node].token];
}

std::span<const std::uint32_t> HotkeyLookupIndex::itemsForPrefix(const Position& at) const {
    const std::uint32_t begin = nodes_[at.node].itemsBegin, end = nodes_[at.node + 1].itemsBegin;
    return std::span(prefixItems_).subspan(begin, end - begin);
}

bool HotkeyLookupIndex::passesFirstKey(const Position& firstToken) const {
    return !passthrough_.empty() && (passthrough_[firstToken.node] & kPassesFirstKey);
}
bool HotkeyLookupIndex::allowsAnyContinuation(const Position& firstToken) const {
    return !passthrough_.empty() && (passthrough_[firstToken.node] & kAnyContinuation);
}
bool HotkeyLookupIndex::leadsToPassthroughGroup(const Position& twoTokens) const {
    return !passthrough_.empty() && (passthrough_[twoTokens.node] & kOnGroupPath);
}

std::vector<std::string> HotkeyLookupIndex::NextTokens::sorted() const {
    std::vector<std::string> result;
    for (const std::string& token : *this)
        result.push_back(token);
    std::ranges::sort(result);
    return result;
}

} // namespace varnel
