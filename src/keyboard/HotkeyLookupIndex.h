#pragma once

#include "config/ConfigItem.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A configuration's items, in file order; never changed once shared.
using ConfigItems = std::shared_ptr<const std::vector<ConfigItem>>;

/// Tells for the tokens typed so far whether they complete a trigger, begin one, and which tokens may follow.
///
/// A value that shares the items it was built from and copies none of them. Look-ups take one hash probe
/// whatever the size of the configuration and allocate nothing. Tokens are compared in their live spelling.
/// Reading is safe from any thread.
class HotkeyLookupIndex {
public:
    /// Divides the tokens of a joined list; no keyboard produces a token that contains it.
    static constexpr char separator = '\x1f';

    /// A list of tokens that begins, or is, some trigger. Belongs to the index that gave it.
    struct Position {
        std::uint32_t node = 0;
        std::uint64_t hash = 0;
        friend bool operator==(const Position& a, const Position& b) { return a.node == b.node; }
    };

    /// The tokens that may follow a position, in no particular order.
    class NextTokens;

    /// Empty: every look-up finds nothing.
    HotkeyLookupIndex();
    /// Disabled items and items without keys contribute nothing. Null counts as no items.
    static HotkeyLookupIndex build(ConfigItems items);

    // The three questions, for a list of live tokens.

    /// The first action in file order with exactly this trigger, else the first such group, else null.
    [[nodiscard]] const ConfigItem* exactMatch(std::span<const std::string> tokens) const;
    /// Indices, ascending, of the items whose triggers begin with these tokens and go on; empty when none
    /// does.
    [[nodiscard]] std::span<const std::uint32_t> itemsForPrefix(std::span<const std::string> tokens) const;
    /// The tokens that may come next, sorted; empty when the list begins no trigger.
    [[nodiscard]] std::vector<std::string> nextTokens(std::span<const std::string> tokens) const;

    // The same, step by step.

    [[nodiscard]] Position root() const;
    [[nodiscard]] std::optional<Position> find(std::span<const std::string> tokens) const;
    [[nodiscard]] std::optional<Position> advance(const Position& from, std::string_view token) const;
    /// Longer triggers begin here.
    [[nodiscard]] bool isPrefix(const Position& at) const;
    /// The action that these tokens complete, or null.
    [[nodiscard]] const ConfigItem* action(const Position& at) const;
    /// The group that has this trigger and names it, or null.
    [[nodiscard]] const ConfigItem* group(const Position& at) const;
    [[nodiscard]] NextTokens nextTokens(const Position& at) const;
    [[nodiscard]] std::vector<std::string> tokens(const Position& at) const;
    /// Calls `visit` with each of them, the first one first. Allocates nothing.
    template <class Visit>
    void forEachToken(const Position& at, Visit&& visit) const {
        if (at.node == 0)
            return;
        forEachToken({nodes_[at.node].parent, 0}, visit);
        visit(std::string_view(tokens_[nodes_[at.node].token]));
    }
    [[nodiscard]] std::size_t depth(const Position& at) const;
    /// Empty for the root.
    [[nodiscard]] std::string_view lastToken(const Position& at) const;
    [[nodiscard]] std::span<const std::uint32_t> itemsForPrefix(const Position& at) const;

    // Groups that let their first key through.

    /// Some enabled group with the switch set has a trigger that begins with this one token.
    [[nodiscard]] bool passesFirstKey(const Position& firstToken) const;
    /// Such a group has exactly this token as its trigger: whatever continues, continues it.
    [[nodiscard]] bool allowsAnyContinuation(const Position& firstToken) const;
    /// Two tokens that lie on the way to, or are, the trigger of such a group.
    [[nodiscard]] bool leadsToPassthroughGroup(const Position& twoTokens) const;

    /// First tokens of everything that can be typed, sorted. Never null, shared, the same for the index's
    /// life.
    [[nodiscard]] const std::shared_ptr<const std::vector<std::string>>& firstTokens() const {
        return firstTokens_;
    }
    [[nodiscard]] const std::vector<ConfigItem>& items() const { return *items_; }

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;
    struct Node {
        std::uint32_t parent = kNone;
        std::uint32_t token = kNone;
        std::uint32_t firstChild = kNone;
        std::uint32_t nextSibling = kNone;
        std::uint32_t action = kNone;
        std::uint32_t group = kNone;
        std::uint32_t itemsBegin = 0; ///< into prefixItems_, up to the next node's
    };
    class Builder;

    [[nodiscard]] const ConfigItem* item(std::uint32_t index) const;

    ConfigItems items_;
    std::vector<std::string> tokens_;
    std::vector<Node> nodes_;          ///< the root first, parents before children, then one end mark
    std::vector<std::uint32_t> slots_; ///< open-addressing table of nodes by the hash of their joined list
    std::vector<std::uint32_t> prefixItems_; ///< items below each node, node by node, in file order
    std::vector<std::uint8_t> passthrough_;  ///< flags of each node; empty when no group has the switch
    std::shared_ptr<const std::vector<std::string>> firstTokens_;
};

class HotkeyLookupIndex::NextTokens {
public:
    class Iterator {
    public:
        using value_type = Position;
        using difference_type = std::ptrdiff_t;
        Iterator() = default;
        Iterator(const HotkeyLookupIndex* index, std::uint32_t node)
            : index_(index)
            , node_(node) {}
        const std::string& operator*() const { return index_->tokens_[index_->nodes_[node_].token]; }
        Iterator& operator++() {
            node_ = index_->nodes_[node_].nextSibling;
            return *this;
        }
        bool operator==(const Iterator& other) const { return node_ == other.node_; }

    private:
        const HotkeyLookupIndex* index_ = nullptr;
        std::uint32_t node_ = kNone;
    };
    NextTokens(const HotkeyLookupIndex* index, std::uint32_t first)
        : index_(index)
        , first_(first) {}
    [[nodiscard]] Iterator begin() const { return {index_, first_}; }
    [[nodiscard]] Iterator end() const { return {index_, kNone}; }
    [[nodiscard]] bool empty() const { return first_ == kNone; }
    [[nodiscard]] std::vector<std::string> sorted() const;

private:
    const HotkeyLookupIndex* index_;
    std::uint32_t first_;
};

} // namespace varnel
