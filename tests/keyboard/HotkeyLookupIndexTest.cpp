#include "keyboard/HotkeyLookupIndex.h"

#include "AllocationCounter.h"
#include "KeyboardTestSupport.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;

std::string nameOf(const ConfigItem* item) {
    return item ? item->name : "-";
}

Keys namesBelow(const HotkeyLookupIndex& index, const Keys& prefix) {
    Keys names;
    for (std::uint32_t i : index.itemsForPrefix(prefix))
        names.push_back(index.items()[i].name);
    return names;
}

TEST(HotkeyLookupIndex, AnswersTheThreeQuestions) {
    const auto index = indexOf({
        group("Group", {"ctrl+j"}),
        action("Terminal", {"Ctrl+J ", "s", "t"}),
        action("Later", {"ctrl+j", "s", "t"}),
        disabled(action("Off", {"ctrl+j", "o"})),
        action("Editor", {"ctrl+j", "e"}),
        action("Enter", {"enter"}),
        group("Empty", {"z"}),
        group("Named before", {"ctrl+j", "e"}),
        action("No keys", {}),
        action("Invalid", {" Hyper+K"}),
    });
    const struct {
        Keys tokens;
        const char* match;
        Keys next, below;
    } rows[] = {
        {{"ctrl+j"}, "Group", {"e", "s"}, {"Terminal", "Later", "Editor", "Named before"}},
        {{"ctrl+j", "s"}, "-", {"t"}, {"Terminal", "Later"}},
        {{"ctrl+j", "s", "t"}, "Terminal", {}, {}},
        {{"ctrl+j", "e"}, "Editor", {}, {}},
        {{"ctrl+j", "o"}, "-", {}, {}},
        {{"return"}, "Enter", {}, {}},
        {{"enter"}, "-", {}, {}},
        {{"z"}, "Empty", {}, {}},
        {{"hyper+k"}, "Invalid", {}, {}},
        {{"ctrl+j\x1Fs"}, "-", {}, {}},
        {{}, "-", {}, {}},
        {{"s"}, "-", {}, {}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(nameOf(index.exactMatch(row.tokens)), row.match);
        EXPECT_EQ(index.nextTokens(row.tokens), row.next);
        EXPECT_EQ(namesBelow(index, row.tokens), row.below);
    }
    EXPECT_EQ(*index.firstTokens(), (Keys{"ctrl+j", "hyper+k", "return"}));
}

TEST(HotkeyLookupIndex, OfNothingFindsNothing) {
    for (const auto& index : {HotkeyLookupIndex(), HotkeyLookupIndex::build(nullptr), indexOf({})}) {
        EXPECT_EQ(index.exactMatch(Keys{"a"}), nullptr);
        EXPECT_TRUE(index.itemsForPrefix(Keys{"a"}).empty());
        EXPECT_TRUE(index.nextTokens(Keys{}).empty());
        EXPECT_FALSE(index.advance(index.root(), "a"));
        EXPECT_TRUE(index.firstTokens()->empty());
    }
}

/// Three steps each, many sharing their first two.
ConfigItems manyItems(int count) {
    std::vector<ConfigItem> items;
    for (int i = 0; i < count; ++i)
        items.push_back(action(std::to_string(i), {"cmd+keycode" + std::to_string(200 + i % 50),
                                                   "keycode" + std::to_string(1000 + i / 50 % 100),
                                                   "shift+keycode" + std::to_string(2000 + i / 5000)}));
    return share(std::move(items));
}

TEST(HotkeyLookupIndex, FindsEveryTriggerOfALargeConfigurationWithoutAllocating) {
    const ConfigItems items = manyItems(20'000);
    const auto index = HotkeyLookupIndex::build(items);
    const Keys unknown{"cmd+keycode200", "keycode999"};
    const std::size_t before = allocationCount();
    std::size_t wrong = 0;
    for (const ConfigItem& item : *items) {
        wrong += index.exactMatch(item.keys) != &item;
        auto at = index.advance(index.root(), item.keys[0]);
        wrong += index.itemsForPrefix(*at).size() != 400;
        at = index.advance(*at, item.keys[1]);
        wrong += index.itemsForPrefix(std::span(item.keys).first(2)).size() != 4;
        std::size_t next = 0;
        for (const std::string& token : index.nextTokens(*at))
            next += !token.empty();
        wrong += next != 4;
    }
    wrong += index.exactMatch(unknown) != nullptr;
    EXPECT_EQ(allocationCount(), before);
    EXPECT_EQ(wrong, 0u);
}

TEST(HotkeyLookupIndex, MarksWhatLetsItsFirstKeyThrough) {
    const auto index = indexOf({
        group("Deep", {"a", "b", "c"}, true),
        action("1", {"a", "b", "c", "d"}),
        action("2", {"a", "x"}),
        group("Whole", {"g"}, true),
        action("3", {"g", "h"}),
        disabled(group("Off", {"o"}, true)),
        action("4", {"o", "p"}),
    });
    const auto at = [&](const Keys& tokens) { return *index.find(tokens); };
    EXPECT_TRUE(index.passesFirstKey(at({"a"})));
    EXPECT_FALSE(index.allowsAnyContinuation(at({"a"})));
    EXPECT_TRUE(index.leadsToPassthroughGroup(at({"a", "b"})));
    EXPECT_FALSE(index.leadsToPassthroughGroup(at({"a", "x"})));
    EXPECT_TRUE(index.passesFirstKey(at({"g"})));
    EXPECT_TRUE(index.allowsAnyContinuation(at({"g"})));
    EXPECT_FALSE(index.passesFirstKey(at({"o"})));
}

} // namespace
} // namespace varnel
