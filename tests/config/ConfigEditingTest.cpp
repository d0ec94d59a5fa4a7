#include "config/ConfigEditing.h"
#include "config/ConfigPlacement.h"
#include "config/ConfigUndoStack.h"

#include "base/Text.h"
#include "tests/config/ConfigTreeTestSupport.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;
using Scope = ConfigEditing::Scope;

/// A leader with two groups; "x" has no item of its own.
std::vector<ConfigItem> sample() {
    return {item("Browser", "ctrl+j w b"), group("Web", "ctrl+j w"),   item("Files", "ctrl+j f"),
            group("Leader", "ctrl+j"),     item("Deep", "ctrl+j x y"), item("Mail", "cmd m m")};
}

/// "Web=ctrl+j w"; the whole list with a comma between.
std::string shown(const std::vector<ConfigItem>& items) {
    std::string text;
    for (const ConfigItem& each : items)
        text += (text.empty() ? "" : ", ") + each.name + "=" + join(each.keys, " ") +
                (each.isEnabled ? "" : " off");
    return text;
}

/// The target that the tree shows under this name.
ConfigTarget named(const std::vector<ConfigItem>& items, const std::string& name) {
    const auto roots = ConfigHierarchyBuilder::build(items);
    for (const FlatNode& flat : ConfigHierarchyBuilder::flatten(roots))
        if (flat.node->name == name)
            return targetOf(*flat.node);
    return {Uuid::random(), {}};
}

/// The list after the edit, or why there is none.
std::string outcome(const ConfigEditResult& result) {
    return result ? shown(result->items) : describe(result.error());
}

TEST(ConfigEditing, TellsWhatIsWrongWithATrigger) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "Trigger is required."},
        {"cmd", "Trigger must include a non-modifier key."},
        {"cmd shift+ctrl", "Trigger must include a non-modifier key."},
        {"cmd g g", ""},
        {"ctrl+j", ""},
        {"ctrl+jj", "A step cannot be typed: unknown key 'jj'"},
    };
    for (const auto& [keys, text] : rows) {
        const auto objection = ConfigEditing::objectionToTrigger(steps(keys));
        EXPECT_EQ(objection ? describe(*objection) : "", text) << keys;
    }
    EXPECT_EQ(describe(*ConfigEditing::objectionToTrigger({" "})), "Trigger is required.");
}

TEST(ConfigEditing, ChecksAGroupsTriggerWithWhatIsBeneath) {
    const auto items = sample();
    const struct {
        std::optional<Uuid> group;
        const char *keys, *conflict;
    } rows[] = {
        {std::nullopt, "ctrl+j w", "Web"},  {std::nullopt, "ctrl+j n", ""}, {items[1].id, "Ctrl+J W", ""},
        {items[1].id, "ctrl+j f", "Files"}, {items[3].id, "cmd", ""},       {items[1].id, "ctrl+j", "Leader"},
    };
    for (const auto& row : rows) {
        const auto conflict = ConfigEditing::groupTriggerConflict(items, row.group, steps(row.keys));
        EXPECT_EQ(conflict ? conflict->name : "", row.conflict) << row.keys;
    }
    auto inTheWay = items;
    inTheWay.push_back(item("Below", "ctrl+j n b"));
    EXPECT_EQ(ConfigEditing::groupTriggerConflict(inTheWay, items[1].id, steps("ctrl+j n"))->name, "Below");
}

TEST(ConfigEditing, MovesToAFreeKey) {
    const auto items = sample();
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"Files", "ctrl+j w", "Files=ctrl+j w f"},
        {"Files", "", "Files=ctrl+alt+f"},
        {"Browser", "ctrl+j x", "Browser=ctrl+j x b"},
        {"Web", "ctrl+j x", "Browser=ctrl+j x w b, Web=ctrl+j x w"},
        {"x", "ctrl+j w", "Deep=ctrl+j w x y"},
        {"Leader", "cmd",
         "Browser=cmd ctrl+j w b, Web=cmd ctrl+j w, Files=cmd ctrl+j f, Leader=cmd ctrl+j, "
         "Deep=cmd ctrl+j x y"},
        {"Mail", "ctrl+j", "Mail=ctrl+j m"},
        {"Files", "ctrl+j", ""},
        {"Web", "ctrl+j w", "A group cannot be moved into itself."},
        {"Web", "CTRL+J w sub", "A group cannot be moved into itself."},
        {"Web", "ctrl+j f", "“Files” is no group: nothing can lie beneath it."},
        {"Nobody", "ctrl+j", "The group or shortcut is not there any more."},
    };
    for (const auto& [name, to, expected] : rows) {
        const auto result = ConfigEditing::move(items, named(items, name), steps(to));
        EXPECT_EQ(result ? shown(difference(items, result->items)) : describe(result.error()), expected)
            << name << " to " << to;
        if (result) {
            EXPECT_EQ(result->count, difference(items, result->items).size());
        }
    }
}

TEST(ConfigEditing, ProposesTheFirstLetterOfTheNameFirst) {
    std::vector<ConfigItem> items = {group("G", "g"), item("", "g F"), item("", "g i x"),
                                     item("", "g enter")};
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        {"g", "", "Files", "g l"},          {"g", "f", "Files", "g l"},
        {"g", "i", "Émile", "g e"},         {"g", "Z", "Files", "g Z"},
        {"g", "escape", "9", "g 9"},        {"g", "return", "日本", "g a"},
        {"", "k", "Kiosk", "ctrl+alt+k"},   {"", "alt+k", "Kiosk", "alt+k"},
        {"", "f5", "Kiosk", "f5"},          {"", "cmd", "Kiosk", "cmd"},
        {"", "shift+k", "?", "ctrl+alt+a"}, {"", "nokey", "é", "ctrl+alt+e"},
    };
    for (const auto& [parent, wanted, name, expected] : rows) {
        const auto keys = ConfigPlacement::freeKeys(items, steps(parent), wanted, name);
        EXPECT_EQ(keys ? join(*keys, " ") : "", expected) << parent << " " << wanted << " " << name;
    }
    const char* inTurn[] = {"g l", "g e", "g s", "g a", "g b", "g c", "g d", "g g", "g h"};
    for (const char* expected : inTurn) {
        items.push_back(item("Files", join(*ConfigPlacement::freeKeys(items, {"g"}, "f", "Files"), " ")));
        EXPECT_EQ(join(items.back().keys, " "), expected);
    }
    while (const auto keys = ConfigPlacement::freeKeys(items, {"g"}, "f", "Files"))
        items.push_back(item("Files", join(*keys, " ")));
    // The letters but "f" and "i", the digits, and each letter with shift.
    EXPECT_EQ(items.size(), 4 + 60u);
    const auto full =
        ConfigEditing::duplicate(items, targetOf(ConfigHierarchyBuilder::build(items)[0].children->at(0)));
    EXPECT_EQ(outcome(full), "No key is free there. Choose one yourself, or another group.");
}

TEST(ConfigEditing, PastesUnderTheGroupOrBesideTheShortcut) {
    const auto items = sample();
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"Web", "old place n", "ctrl+j w n"},
        {"Web", "b", "ctrl+j w n"},
        {"Browser", "b", "ctrl+j w n"},
        {"x", "old n", "ctrl+j x n"},
        {"Mail", "old m", "cmd m n"},
        {"", "elsewhere q", "elsewhere q"},
        {"", "ctrl+j f", "ctrl+j n"},
        {"", "q", "ctrl+alt+n"},
        {"Web", "", "ctrl+j w n"},
    };
    for (const auto& [selection, keys, expected] : rows) {
        const ConfigItem pasted = item("New", keys);
        const auto result = ConfigEditing::paste(
            items, pasted, *selection ? std::optional(named(items, selection)) : std::nullopt);
        ASSERT_TRUE(result) << selection << " " << keys;
        const auto added = difference(items, result->items);
        EXPECT_EQ(shown(added), std::string("New=") + expected) << selection << " " << keys;
        EXPECT_NE(added[0].id, pasted.id);
        EXPECT_EQ(result->selected, added[0].id);
    }
    EXPECT_EQ(outcome(ConfigEditing::paste(items, item("N", "ctrl+j f n"), std::nullopt)),
              "“Files” is no group: nothing can lie beneath it.");
}

TEST(ConfigEditing, DuplicatesWithEverythingBeneath) {
    const auto items = sample();
    const std::pair<const char*, const char*> rows[] = {
        {"Browser", "Browser=ctrl+j w r"},
        {"Web", "Browser=ctrl+j e b, Web=ctrl+j e"},
        {"x", "Deep=ctrl+j a y"},
    };
    for (const auto& [name, expected] : rows) {
        const auto result = ConfigEditing::duplicate(items, named(items, name));
        ASSERT_TRUE(result) << name;
        EXPECT_EQ(shown(difference(items, result->items)), expected);
        EXPECT_TRUE(difference(result->items, items).empty()) << name;
        EXPECT_EQ(identifiers(result->items).size(), result->items.size());
    }
}

TEST(ConfigEditing, AddsChangesAndRegroups) {
    const auto items = sample();
    EXPECT_EQ(outcome(ConfigEditing::add(items, item("Again", "Ctrl+J f"))),
              "This trigger already exists as “Files”.");
    ConfigItem twin = items[0];
    twin.keys = steps("ctrl+j w c");
    const auto added = ConfigEditing::add(items, twin);
    EXPECT_NE(added->items.back().id, items[0].id);
    EXPECT_EQ(added->name, "Add “Browser”");

    const struct {
        std::size_t index;
        const char *name, *keys, *expected;
        std::size_t count;
    } rows[] = {
        {0, "Browser", "ctrl+j w z", "Browser=ctrl+j w z", 1},
        {0, "Browser", "ctrl+j f", "This trigger already exists as “Files”.", 0},
        {0, "Browser", "", "Trigger is required.", 0},
        {0, "Browser", "ctrl+j w b", "", 0},
        {1, "Net", "ctrl+j n", "Browser=ctrl+j n b, Net=ctrl+j n", 2},
        {1, "Web", "Ctrl+J w", "Browser=Ctrl+J w b, Web=Ctrl+J w", 2},
        {1, "Web", "ctrl+j f", "This trigger already exists as “Files”.", 0},
    };
    for (const auto& row : rows) {
        ConfigItem changed = items[row.index];
        changed.name = row.name;
        changed.keys = steps(row.keys);
        const auto result = ConfigEditing::change(items, changed);
        EXPECT_EQ(result ? shown(difference(items, result->items)) : describe(result.error()), row.expected);
        EXPECT_EQ(result ? result->count : 0, row.count) << row.keys;
    }
    EXPECT_EQ(
        shown(difference(items, ConfigEditing::regroup(items, named(items, "x"), steps("ctrl+j z"))->items)),
        "Deep=ctrl+j z y");
    EXPECT_EQ(outcome(ConfigEditing::regroup(items, named(items, "Files"), steps("ctrl+j z"))),
              "“Files” is no group: nothing can lie beneath it.");
}

TEST(ConfigEditing, DeletesRenamesAndSwitches) {
    const auto items = sample();
    const std::tuple<const char*, std::size_t, const char*> deletions[] = {
        {"Leader", 5, "Mail=cmd m m"},
        {"x", 1, "Browser=ctrl+j w b, Web=ctrl+j w, Files=ctrl+j f, Leader=ctrl+j, Mail=cmd m m"},
        {"cmd", 1, "Browser=ctrl+j w b, Web=ctrl+j w, Files=ctrl+j f, Leader=ctrl+j, Deep=ctrl+j x y"},
    };
    for (const auto& [name, count, rest] : deletions) {
        const auto result = ConfigEditing::remove(items, named(items, name));
        EXPECT_EQ(outcome(result), rest);
        EXPECT_EQ(result->count, count);
    }
    const auto defined = ConfigEditing::rename(items, named(items, "x"), "Extras");
    EXPECT_EQ(shown(difference(items, defined->items)), "Extras=ctrl+j x");
    EXPECT_EQ(defined->items.back().type, ItemType::group);
    EXPECT_EQ(ConfigEditing::rename(items, named(items, "Web"), "Web")->count, 0u);

    const auto off = ConfigEditing::setEnabled(items, named(items, "Web"), false, Scope::itemAndBeneath);
    EXPECT_EQ(shown(difference(items, off->items)), "Browser=ctrl+j w b off, Web=ctrl+j w off");
    EXPECT_EQ(off->name, "Disable “Web”");
    EXPECT_EQ(ConfigEditing::setEnabled(items, named(items, "Web"), false, Scope::item)->count, 1u);
}

TEST(ConfigEditing, GivesLaterItemsWithTheSameIdentifierFreshOnes) {
    auto items = sample();
    items[2].id = items[0].id;
    const auto result = ConfigEditing::rename(items, {items[2].id, items[2].keys}, "Folders");
    EXPECT_EQ(result->items[0], items[0]);
    EXPECT_EQ(result->items[2].name, "Folders");
    EXPECT_NE(result->items[2].id, items[0].id);
}

TEST(ConfigUndoStack, GoesBackAndForward) {
    const auto first = sample();
    auto second = first, third = first;
    second[0].name = "Second";
    third.pop_back();
    ConfigUndoStack stack(first, 2);
    EXPECT_FALSE(stack.undoName() || stack.redoName() || stack.undoStep() || stack.redoStep());
    stack.record("Rename", second);
    stack.follow(second);
    stack.follow(third);
    EXPECT_EQ(stack.undoName(), "Change Outside Varnel!");
    EXPECT_EQ(stack.undoStep()->items, second);
    EXPECT_EQ(stack.undoStep()->items, second) << "nothing has been saved yet";
    stack.didUndo();
    EXPECT_EQ(stack.redoName(), "Change Outside Varnel!");
    EXPECT_EQ(stack.redoStep()->items, third);
    EXPECT_EQ(stack.undoStep()->items, first);
    stack.record("Another", first);
    EXPECT_FALSE(stack.redoName());
    stack.record("The oldest is forgotten", third);
    stack.didUndo();
    stack.didUndo();
    EXPECT_FALSE(stack.undoName());
    EXPECT_EQ(stack.redoStep()->name, "Another");
}

} // namespace
} // namespace varnel
