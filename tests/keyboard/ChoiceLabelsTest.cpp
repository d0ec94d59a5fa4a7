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

} // namespace
} // namespace varnel
