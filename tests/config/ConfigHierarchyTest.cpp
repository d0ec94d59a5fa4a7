#include "config/ConfigDocument.h"
#include "config/ConfigHierarchyBuilder.h"
#include "config/TriggerConflict.h"

#include "base/Text.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using Keys = std::vector<std::string>;

ConfigItem item(std::string name, Keys keys, ItemType type = ItemType::action) {
    ConfigItem made;
    made.id = Uuid::random();
    made.name = std::move(name);
    made.keys = std::move(keys);
    made.type = type;
    return made;
}

/// "Master Key(ctrl+j)[Work(w)[…]]"; "[]" where children are present but none.
std::string shape(const std::vector<HierarchyNode>& nodes) {
    std::string text;
    for (const HierarchyNode& node : nodes) {
        text += (text.empty() ? "" : " ") + node.name + "(" + node.matchKey + ")";
        if (node.children)
            text += "[" + shape(*node.children) + "]";
    }
    return text;
}

TEST(ConfigHierarchyBuilder, BuildsTheTreeWhateverTheOrderOfTheFile) {
    const auto standard = makeDefaultDocument().items;
    const struct {
        std::vector<ConfigItem> items;
        const char* tree;
    } rows[] = {
        {standard, "Master Key(ctrl+j)[System(s)[Finder(f) Terminal(t)] Work(w)[Chrome(g)]]"},
        {{item("Deep", {"a", "x", "y"})}, "a(a)[x(x)[Deep(y)]]"},
        {{item("Below", {"a", "b"}), item("Action", {"a"})}, "Action(a)[Below(b)]"},
        {{item("first", {"k"}), item("second", {"k"})}, "second(k)"},
        {{item("b", {"A"}), item("a", {"a"}), item("none", {})}, "b(A) a(a)"},
        {{item("2", {"a", "bc"}), item("1", {"ab", "c"})}, "a(a)[2(bc)] ab(ab)[1(c)]"},
        {{item("too long", Keys(ConfigHierarchyBuilder::kMaximumSteps + 1, "a"))}, ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(shape(ConfigHierarchyBuilder::build(row.items)), row.tree);
    EXPECT_EQ(ConfigHierarchyBuilder::build(standard)[0].id, standard[5].id.text());
    EXPECT_EQ(ConfigHierarchyBuilder::build(rows[1].items)[0].children->at(0).id, "group_a+x");
}

TEST(ConfigHierarchyBuilder, AsksForANameWhereTheItemHasNone) {
    const auto roots = ConfigHierarchyBuilder::build({item(" \n", {"a"}), item(" own ", {"b"})},
                                                     [](const ConfigItem&) { return " fallback "; });
    EXPECT_EQ(shape(roots), "fallback(a) own(b)");
}

TEST(ConfigHierarchyBuilder, FlattensParentsFirst) {
    const auto roots = ConfigHierarchyBuilder::build(makeDefaultDocument().items);
    std::string list;
    for (const FlatNode& flat : ConfigHierarchyBuilder::flatten(roots))
        list += std::to_string(flat.depth) + flat.node->name + " ";
    EXPECT_EQ(list, "0Master Key 1System 2Finder 2Terminal 1Work 2Chrome ");
}

TEST(ConfigHierarchyBuilder, FiltersByNameKeysAndParameters) {
    auto items = makeDefaultDocument().items;
    items[0].action->params["weight"] = 0.5;
    const auto roots = ConfigHierarchyBuilder::build(items);
    const std::pair<const char*, const char*> rows[] = {
        {"CHROME", "Master Key(ctrl+j)[Work(w)[Chrome(g)]]"},
        {"j+s+t", "Master Key(ctrl+j)[System(s)[Terminal(t)]]"},
        {"utilities", "Master Key(ctrl+j)[System(s)[Terminal(t)]]"},
        {"app 0.5", "Master Key(ctrl+j)[Work(w)[Chrome(g)]]"},
        {"app /sys", ""},
        {"work", "Master Key(ctrl+j)[Work(w)[]]"},
        {"nowhere", ""},
        {"", "Master Key(ctrl+j)[System(s)[Finder(f) Terminal(t)] Work(w)[Chrome(g)]]"},
    };
    PlainTextSearch search;
    for (const auto& [query, tree] : rows)
        EXPECT_EQ(shape(ConfigHierarchyBuilder::filter(roots, query, search)), tree) << query;
}

TEST(TriggerConflict, ComparesWholeTriggersIgnoringCaseAndSpace) {
    const auto items = makeDefaultDocument().items;
    const struct {
        Keys keys;
        std::optional<Uuid> except;
        std::string found;
    } rows[] = {{{"Ctrl+J "}, std::nullopt, "Master Key"},
                {{"CTRL+J", "s"}, std::nullopt, "System"},
                {{"ctrl+j"}, items[5].id, ""},
                {{"ctrl+j", "s", "f", "x"}, std::nullopt, ""},
                {{}, std::nullopt, ""}};
    for (const auto& row : rows) {
        const auto conflict = findTriggerConflict(row.keys, row.except, items);
        EXPECT_EQ(conflict ? conflict->name : "", row.found) << join(row.keys, " ");
    }
    EXPECT_EQ(conflictMessage({{}, " Mail ", {}}), "This trigger already exists as “Mail”.");
    EXPECT_EQ(conflictMessage({{}, "  ", {}}), "This trigger already exists.");
}

TEST(TriggerConflict, RewritesAGroupWithEverythingBeneath) {
    const auto items = makeDefaultDocument().items;
    const struct {
        Keys from, to;
        std::size_t count;
        const char* conflict;
    } rows[] = {{{"ctrl+j", "W "}, {"ctrl+j", "E"}, 2, ""},
                {{"ctrl+j"}, {"cmd", "k"}, 6, ""},
                {{"ctrl+j", "w"}, {"Ctrl+J", "w"}, 0, ""},
                {{"nothing"}, {"x"}, 0, ""},
                {{}, {"x"}, 0, ""},
                {{"ctrl+j", "w"}, {"ctrl+j", "S"}, 0, "System"}};
    for (const auto& row : rows) {
        const auto result = rewriteGroupTrigger(items, row.from, row.to);
        EXPECT_EQ(result ? "" : result.error().name, row.conflict);
        EXPECT_EQ(result ? result->updatedCount : 0, row.count) << join(row.to, " ");
        EXPECT_EQ(result && result->items == items, result && row.count == 0);
    }
    EXPECT_EQ(rewriteGroupTrigger(items, {"ctrl+j", "W"}, {"ctrl+j", " E"})->items[0].keys,
              (Keys{"ctrl+j", " E", "g"}));
}

} // namespace
} // namespace varnel
