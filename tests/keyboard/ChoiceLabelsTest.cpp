#include "keyboard/notation/ChoiceLabels.h"

#include "keyboard/DynamicChoices.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace varnel {
namespace {

using Labels = std::vector<std::string>;

TEST(ChoiceLabels, GrowFromTheHomeRow) {
    EXPECT_EQ(ChoiceLabels::labels(9, false), (Labels{"j", "f", "k", "d", "l", "s", "a", "h", "g"}));
    EXPECT_EQ(ChoiceLabels::labels(10, false), (Labels{"f", "k", "d", "l", "s", "a", "h", "g", "jj", "jf"}));
    EXPECT_EQ(ChoiceLabels::labels(-1, false), Labels());
    const Labels many = ChoiceLabels::labels(82, false);
    EXPECT_EQ(many.front(), "jf");
    EXPECT_EQ(Labels(many.end() - 3, many.end()), (Labels{"gg", "jjj", "jjf"}));
}

TEST(ChoiceLabels, AreAlwaysDistinctAndPrefixFree) {
    for (bool full : {false, true})
        for (long long count = 0; count < 1000; ++count) {
            const Labels labels = ChoiceLabels::labels(count, full);
            ASSERT_EQ(labels.size(), static_cast<std::size_t>(count));
            ASSERT_TRUE(ChoiceLabels::areValid(labels)) << count;
        }
}

TEST(ChoiceLabels, OwnLabelsCountOnlyWhenAllAreValidTogether) {
    const struct {
        std::vector<std::optional<std::string>> own;
        std::optional<Labels> expected;
    } rows[] = {
        {{" A ", "bc"}, Labels{"a", "bc"}}, {{"a", std::nullopt}, std::nullopt}, {{"a", "  "}, std::nullopt},
        {{"a", "a"}, std::nullopt},         {{"ab", "a"}, std::nullopt},         {{"1", "a"}, std::nullopt},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ChoiceLabels::ownLabels(row.own), row.expected);
}

TEST(DynamicChoices, TakeTheAlphabetThatTheActionNames) {
    ConfigItem item;
    item.action = ConfigAction{"p", "a", {{"useFullAlphabet", true}}};
    const std::vector<DynamicChoice> ten(10);
    EXPECT_EQ(labeled(ten, item)[9].label, "u");
    item.action->params["useFullAlphabet"] = "true";
    EXPECT_EQ(labeled(ten, item)[9].label, "jf");
}

TEST(DynamicChoices, AsksForAWindowOnlyWhenToldSoExactly) {
    struct Row {
        std::string plugin, action;
        JSONValue::Object params;
        bool asks;
    };
    const JSONValue path = "/A.app", choose = "chooseWhenMultiple", other = "ChooseWhenMultiple";
    const std::string application = core::application, mode = "windowSelectionMode";
    const Row rows[] = {
        {application, "open", {{"path", path}, {mode, choose}}, true},
        {application, "open", {{"path", path}, {mode, "frontmost"}}, false},
        {application, "open", {{"path", path}, {mode, other}}, false},
        {application, "open", {{"path", path}, {mode, true}}, false},
        {application, "open", {{"path", path}}, false},
        {application, "open", {{mode, choose}}, false},
        {application, "close", {{"path", path}, {mode, choose}}, false},
        {core::shell, "open", {{"path", path}, {mode, choose}}, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        ConfigItem item;
        item.action = ConfigAction{row.plugin, row.action, row.params};
        EXPECT_EQ(applicationPathForWindowChoice(item),
                  row.asks ? std::optional<std::string>("/A.app") : std::nullopt);
        item.type = ItemType::group;
        EXPECT_EQ(applicationPathForWindowChoice(item), std::nullopt);
    }
}

TEST(DynamicChoices, ASwitcherAsksUnlessItNamesWhatToShow) {
    const std::pair<JSONValue::Object, bool> rows[] = {
        {{}, true},
        {{{"application", ""}}, true},
        {{{"application", "Mail"}}, false},
        {{{"choice", "window 7"}}, false},
    };
    for (const auto& [params, asks] : rows) {
        ConfigItem item;
        item.action = ConfigAction{core::runningApps, "activate", params};
        EXPECT_EQ(asksForRunningApplication(item), asks) << params.size();
        item.type = ItemType::group;
        EXPECT_FALSE(asksForRunningApplication(item));
    }
}

} // namespace
} // namespace varnel
