#include "config/ConfigFix.h"

#include "config/ConfigCheck.h"
#include "config/ConfigDocument.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace varnel {
namespace {

constexpr const char* kMessy = R"([
 {"id":"6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C","name":"A","type":"group","keys":["Shift+CMD+k"]},
 {"id":"6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C","name":"B","type":"action","keys":["cmd+shift+k"," Enter ","nokey"],
  "action":{"type":"shellCommand","command":"date"}},
 {"name":"C","type":"action","keys":["cmd+shift+k","c"],
  "action":{"pluginID":"core.shell","actionID":"run","params":{"command":"x"}}}])";

TEST(ConfigFix, MendsWhatNeedsNoDecisionAndSaysSo) {
    const auto fixed = fixDocument(kMessy);
    ASSERT_TRUE(fixed) << fixed.error();
    EXPECT_EQ(fixed->done, (std::vector<std::string>{
                               "Brought the bare list of items into the current form of the file.",
                               R"(Spelled the step "Shift+CMD+k" of "A" ([0]) canonically: "cmd+shift+k".)",
                               R"(Gave "B" ([1]) an identifier of its own.)",
                               R"(Spelled the step " Enter" of "B" ([1]) canonically: "enter".)",
                               R"(Brought the action of "B" ([1]) into the current form.)",
                               R"(Gave "C" ([2]) an identifier.)"}));
    const auto before = decodeDocument(kMessy), after = decodeDocument(fixed->text);
    ASSERT_TRUE(after);
    ASSERT_EQ(after->items.size(), 3u);
    EXPECT_EQ(after->items[0].id, before->items[0].id);
    EXPECT_NE(after->items[1].id, after->items[0].id);
    EXPECT_EQ(after->items[1].keys, (std::vector<std::string>{"cmd+shift+k", "enter", "nokey"}));
    EXPECT_EQ(after->items[1].action, before->items[1].action);

    const auto left = checkDocument(fixed->text, builtInActions());
    EXPECT_TRUE(std::ranges::none_of(left, [](const Diagnostic& each) {
        return findConfigRule(each.code)->isFixable;
    })) << "nothing that can be mended is left";
    const auto again = fixDocument(fixed->text);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->text, fixed->text);
    EXPECT_TRUE(again->done.empty());
}

TEST(ConfigFix, LeavesAloneWhatItWouldLoseOrCannotRead) {
    const std::string clean = "{\"items\" :[],\"pluginSettings\":{}}";
    const auto untouched = fixDocument(clean);
    ASSERT_TRUE(untouched);
    EXPECT_EQ(untouched->text, clean) << "the layout alone is no reason to write";
    const std::pair<const char*, const char*> rows[] = {
        {R"([{"name":"A","type":"group","keys":["A"],"note":"mine"}])", "[0].note"},
        {R"([{"name":"A","type":"group","keys":["A"],"keys":["B"]}])", "[0].keys"},
        {R"([{"name":"A","type":"action","keys":["a"],"allowsPassthroughPrefix":true}])",
         "[0].allowsPassthroughPrefix"},
        {R"([{"name":1}])", "expected a string"},
        {"[", "expected"},
    };
    for (const auto& [text, reason] : rows) {
        const auto fixed = fixDocument(text);
        ASSERT_FALSE(fixed) << text;
        EXPECT_TRUE(fixed.error().contains(reason)) << fixed.error();
    }
}

} // namespace
} // namespace varnel
