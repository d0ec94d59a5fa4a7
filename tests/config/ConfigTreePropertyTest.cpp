#include "config/ConfigEditing.h"
#include "config/ConfigTreeFilter.h"

#include "tests/config/ConfigTreeTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <random>

namespace varnel {
namespace {

using namespace test;
using Keys = std::vector<std::string>;

/// Few keys, so that triggers meet, contain each other and repeat.
class RandomLists {
public:
    explicit RandomLists(unsigned seed)
        : random_(seed) {}
    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }
    Keys keys(unsigned longest) {
        static const char* const kSteps[] = {"a", "b", "c", "A", "ab", "bc", " a"};
        Keys made;
        for (unsigned count = below(longest + 1); count > 0; --count)
            made.emplace_back(kSteps[below(std::size(kSteps))]);
        return made;
    }
    std::vector<ConfigItem> items(unsigned most) {
        std::vector<ConfigItem> list;
        for (unsigned count = below(most + 1); count > 0; --count) {
            ConfigItem made = below(3) ? group("G" + std::to_string(count), "") : item("", "");
            made.keys = keys(4);
            made.isEnabled = below(4) != 0;
            list.push_back(std::move(made));
        }
        return list;
    }

private:
    std::mt19937 random_;
};

/// The order of insertion, by its own words.
bool comesLater(const ConfigItem& a, std::size_t placeOfA, const ConfigItem& b, std::size_t placeOfB) {
    return std::tuple(a.keys.size(), join(a.keys, ""), placeOfA) >
           std::tuple(b.keys.size(), join(b.keys, ""), placeOfB);
}

TEST(TreeProperty, EveryItemIsReachableUnlessALaterOneOwnsItsPlace) {
    RandomLists random(1);
    for (int round = 0; round < 3000; ++round) {
        const auto items = random.items(20);
        const auto roots = ConfigHierarchyBuilder::build(items);
        std::map<Keys, const HierarchyNode*> byKeys;
        for (const FlatNode& flat : ConfigHierarchyBuilder::flatten(roots)) {
            const HierarchyNode& node = *flat.node;
            ASSERT_TRUE(byKeys.emplace(node.fullKeys, &node).second) << "two nodes in one place";
            ASSERT_EQ(flat.depth + 1u, node.fullKeys.size());
            ASSERT_EQ(node.matchKey, node.fullKeys.back());
            const Keys parent(node.fullKeys.begin(), node.fullKeys.end() - 1);
            ASSERT_TRUE(parent.empty() || byKeys.contains(parent)) << "a child before its parent";
            if (!node.item) {
                ASSERT_EQ(node.id, "group_" + join(node.fullKeys, "+"));
                ASSERT_TRUE(node.children && !node.children->empty());
            }
        }
        for (std::size_t i = 0; i < items.size(); ++i) {
            const ConfigItem* owner = items[i].keys.empty() ? nullptr : &items[i];
            for (std::size_t j = 0; owner && j < items.size(); ++j)
                if (items[j].keys == items[i].keys &&
                    comesLater(items[j], j, *owner, static_cast<std::size_t>(owner - items.data())))
                    owner = &items[j];
            ASSERT_EQ(byKeys.contains(items[i].keys), owner != nullptr);
            if (owner) {
                ASSERT_EQ(byKeys[items[i].keys]->item, *owner);
            }
        }
    }
}

TEST(TreeProperty, TheRememberedFilterShowsWhatThePlainOneKeeps) {
    RandomLists random(2);
    PlainTextSearch search;
    for (int round = 0; round < 2000; ++round) {
        const auto roots = ConfigHierarchyBuilder::build(random.items(20));
        const ConfigTreeFilter filter(roots, search);
        for (const char* query : {"", "a+b", "G1", "c", "none"}) {
            const auto kept = ConfigHierarchyBuilder::filter(roots, query, search);
            const auto expected = ConfigHierarchyBuilder::flatten(kept);
            const auto shown = filter.visible(query);
            ASSERT_EQ(shown.size(), expected.size());
            for (std::size_t i = 0; i < shown.size(); ++i) {
                ASSERT_EQ(shown[i].node->fullKeys, expected[i].node->fullKeys);
                ASSERT_EQ(shown[i].depth, expected[i].depth);
                ASSERT_EQ(shown[i].node->children.has_value(), expected[i].node->children.has_value());
            }
            if (*query == 0) {
                ASSERT_EQ(kept, roots);
            }
        }
    }
}

TEST(TreeProperty, RewritingThereAndBackIsTheIdentity) {
    RandomLists random(3);
    int rewritten = 0;
    for (int round = 0; round < 3000; ++round) {
        auto items = random.items(20);
        for (ConfigItem& each : items) // where spellings differ the way back cannot know them
            each.keys = normalizedTrigger(each.keys);
        const Keys from = normalizedTrigger(random.keys(2)), to = {"free", "b"};
        const auto there = rewriteGroupTrigger(items, from, to);
        ASSERT_TRUE(there);
        const auto back = rewriteGroupTrigger(there->items, to, from);
        ASSERT_TRUE(back);
        ASSERT_EQ(back->items, items);
        ASSERT_EQ(back->updatedCount, there->updatedCount);
        ASSERT_EQ(there->updatedCount, difference(items, there->items).size());
        rewritten += there->updatedCount > 0;
    }
    EXPECT_GT(rewritten, 500);
}

/// What `edit` did beyond the items that it may touch: the others must stay, in their order.
void expectOnly(const std::vector<ConfigItem>& before, const ConfigEditResult& edit,
                const std::set<Uuid>& mayTouch) {
    if (!edit)
        return;
    std::vector<ConfigItem> stayed, kept;
    for (const ConfigItem& each : before)
        if (!mayTouch.contains(each.id))
            stayed.push_back(each);
    const auto known = identifiers(before);
    for (const ConfigItem& each : edit->items)
        if (known.contains(each.id) && !mayTouch.contains(each.id))
            kept.push_back(each);
    ASSERT_EQ(kept, stayed);
    ASSERT_EQ(identifiers(edit->items).size(), edit->items.size());
    ASSERT_EQ(edit->count == 0, edit->items == before) << edit->name;
}

TEST(TreeProperty, NoOperationChangesWhatItWasNotAskedTo) {
    RandomLists random(4);
    for (int round = 0; round < 2000; ++round) {
        const auto items = random.items(12);
        const auto roots = ConfigHierarchyBuilder::build(items);
        const auto nodes = ConfigHierarchyBuilder::flatten(roots);
        if (nodes.empty())
            continue;
        const HierarchyNode& node = *nodes[random.below(static_cast<unsigned>(nodes.size()))].node;
        const ConfigTarget target = targetOf(node);
        std::set<Uuid> itself, beneath, sameLetters;
        if (node.item)
            itself.insert(node.item->id);
        const bool isGroup = !node.item || node.item->type == ItemType::group;
        const Keys normalized = normalizedTrigger(target.keys);
        for (const ConfigItem& each : items) {
            const auto startsWith = [](const Keys& keys, const Keys& start) {
                return keys.size() >= start.size() && std::equal(start.begin(), start.end(), keys.begin());
            };
            if (isGroup && each.keys != target.keys && startsWith(each.keys, target.keys))
                beneath.insert(each.id);
            if (isGroup && startsWith(normalizedTrigger(each.keys), normalized))
                sameLetters.insert(each.id);
        }
        beneath.insert(itself.begin(), itself.end());
        sameLetters.insert(beneath.begin(), beneath.end());
        using namespace ConfigEditing;
        expectOnly(items, ConfigEditing::remove(items, target), beneath);
        expectOnly(items, ConfigEditing::rename(items, target, "renamed"), itself);
        expectOnly(items, setEnabled(items, target, random.below(2), Scope::item), itself);
        expectOnly(items, setEnabled(items, target, random.below(2), Scope::itemAndBeneath), beneath);
        expectOnly(items, duplicate(items, target), {});
        expectOnly(items, paste(items, item("pasted", "x"), target), {});
        expectOnly(items, add(items, item("added", "ctrl+q")), {});
        expectOnly(items, ConfigEditing::move(items, target, random.keys(2)), sameLetters);
        expectOnly(items, regroup(items, target, {"ctrl+a", "b"}), sameLetters);
        if (HasFatalFailure())
            return;
    }
}

TEST(TreeProperty, StaysQuickWithManyItemsAndDeepPaths) {
    RandomLists random(5);
    std::vector<ConfigItem> items;
    for (int i = 0; i < 10'000; ++i) {
        items.push_back(item("Item " + std::to_string(i), ""));
        items.back().keys = random.keys(6);
    }
    items.push_back(item("Deep", ""));
    items.back().keys = Keys(ConfigHierarchyBuilder::kMaximumSteps, "a");
    const auto start = std::chrono::steady_clock::now();
    const auto roots = ConfigHierarchyBuilder::build(items);
    EXPECT_GE(ConfigHierarchyBuilder::flatten(roots).size(), ConfigHierarchyBuilder::kMaximumSteps);
    // Generous: sanitizers and busy machines. The benchmarks hold the figures.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

} // namespace
} // namespace varnel
