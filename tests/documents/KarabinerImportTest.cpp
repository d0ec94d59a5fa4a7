#include "documents/KarabinerImport.h"

#include "DocumentTestSupport.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;
using Texts = std::vector<std::string>;

/// A file with these manipulators in one rule, each on a line of its own from line 2 on.
ImportReport imported(const Texts& manipulators) {
    const auto report =
        importKarabiner("{\"description\":\"R\",\"manipulators\":[\n" + join(manipulators, ",\n") + "\n]}");
    return report.value_or(ImportReport{});
}

std::string sets(const std::string& variable, int value) {
    return R"({"set_variable":{"name":")" + variable + R"(","value":)" + std::to_string(value) + "}}";
}

/// From a key to events, under conditions "a=1 b=0".
std::string manipulator(const std::string& from, const std::string& to, const Texts& conditions = {},
                        const std::string& more = "") {
    Texts list;
    for (const std::string& condition : conditions)
        list.push_back(R"({"type":"variable_if","name":")" + condition.substr(0, condition.find('=')) +
                       R"(","value":)" + condition.substr(condition.find('=') + 1) + "}");
    return R"({"type":"basic","from":{)" + from + R"(},"to":[)" + to + R"(],"conditions":[)" +
           join(list, ",") + "]" + more + "}";
}

std::string key(const std::string& code) {
    return R"("key_code":")" + code + "\"";
}
std::string runs(const std::string& command) {
    return R"({"shell_command":")" + command + "\"}";
}

TEST(KarabinerImport, TurnsVariablesIntoSequences) {
    const std::string ctrlJ = key("j") + R"(,"modifiers":{"mandatory":["control"]})";
    const ImportReport report = imported({
        manipulator(ctrlJ, sets("v", 1), {"v=0"}),
        manipulator(key("a"), runs("first") + "," + sets("v", 0), {"v=1"}),
        manipulator(key("w"), sets("v", 2), {"v=1"}),
        manipulator(key("a"), runs("second") + "," + sets("v", 0), {"v=2"}),
        manipulator(key("f1"), sets("v", 2)),
        manipulator(key("escape"), sets("v", 0), {"v=1"}),
        manipulator(key("escape"), R"({"key_code":"escape"},)" + sets("v", 0), {"v=2"}),
        manipulator(key("b"), runs("stays"), {"v=2", "other=0"}),
    });
    EXPECT_EQ(lines(report.items),
              (Texts{"ctrl+j = group R", "ctrl+j w = group Ctrl+J, W", "f1 = group F1", "ctrl+j a = first",
                     "f1 a = second", "ctrl+j w a = second", "f1 b = stays", "ctrl+j w b = stays"}));
    EXPECT_EQ(report.converted, 8u);
    EXPECT_EQ(lines(report.notes).back(), "9: the sequence ends with it; in Karabiner the mode stayed on");
}

TEST(KarabinerImport, SurvivesVariablesThatLeadNowhereOrInCircles) {
    const ImportReport report = imported({
        manipulator(key("a"), sets("x", 1), {"y=1"}),
        manipulator(key("b"), sets("y", 1), {"x=1"}),
        manipulator(key("c"), runs("true"), {"x=1"}),
        manipulator(key("d"), runs("true"), {"ghost=1"}),
        manipulator(key("e"), sets("p", 1)),
        manipulator(key("f"), sets("q", 1)),
        manipulator(key("g"), runs("true"), {"p=1", "q=1"}),
    });
    EXPECT_TRUE(report.items.empty());
    EXPECT_EQ(report.omitted.size(), 7u);
    EXPECT_EQ(lines(report.omitted).back(), "8: no sequence sets all the variables that it asks for");
}

TEST(KarabinerImport, ReadsWhatIsTypedAndWhatRuns) {
    const std::string ls = runs("ls"), optional = R"(,"modifiers":{"mandatory":)";
    const struct {
        std::string manipulator, line;
    } rows[] = {
        {manipulator(key("open_bracket"), ls), "leftbracket = ls"},
        {manipulator(key("k") + optional + R"(["right_command","shift"]})", ls), "cmd+shift+k = ls"},
        {manipulator(key("k") + optional + R"("option"})", ls), "alt+k = ls"},
        {manipulator(R"("simultaneous":[{"key_code":"f2"}])", ls), "f2 = ls"},
        {manipulator(R"("consumer_key_code":"mute")", ls), "keycode74 = ls"},
        {manipulator(key("left_shift"), R"({"key_code":"left_shift"})", {}, R"(,"to_if_alone":[)" + ls + "]"),
         "shift = ls"},
        {manipulator(key("a"), runs("ls") + "," + runs("pwd")), "a = ls\npwd"},
        {manipulator(key("a"), R"({"key_code":"c","modifiers":["left_command"]})"), "a = cmd+c"},
        {manipulator(key("a"), runs("open '/Applications/My App.app'")), "a = /Applications/My App.app"},
        {manipulator(key("a"), runs("open -a Safari")), "a = open -a Safari"},
        {manipulator(key("a"), runs("open /Applications/$X.app")), "a = open /Applications/$X.app"},
        {manipulator(key("a"), R"({"software_function":{"open_application":{"bundle_identifier":"it's"}}})"),
         R"(a = open -b 'it'\''s')"},
    };
    for (const auto& row : rows) {
        const ImportReport report = imported({row.manipulator});
        EXPECT_EQ(lines(report.items), Texts{row.line})
            << row.manipulator << join(lines(report.omitted), " ");
    }
}

TEST(KarabinerImport, ReadsRulesFromEveryKindOfFile) {
    const std::string rule =
        R"({"description":"Named","manipulators":[)" + manipulator(key("a"), runs("ls")) + "]}";
    const std::string profile = R"({"complex_modifications":{"rules":[)";
    const std::string files[] = {
        rule,
        "[" + rule + "]",
        R"({"title":"T","rules":[)" + rule + "]}",
        R"({"profiles":[{"name":"other"},)" + profile + rule + R"(]},"selected":true}]})",
        R"({"profiles":[)" + profile + rule + "]}}]}",
    };
    for (const std::string& file : files) {
        const auto report = importKarabiner(file);
        ASSERT_TRUE(report) << file;
        EXPECT_EQ(lines(report->items), Texts{"a = ls"}) << file;
        EXPECT_EQ(report->items[0].name, "Named");
    }
    for (const std::string file : {"{", "{}", "7", R"({"profiles":[]})"})
        EXPECT_FALSE(importKarabiner(file)) << file;
    EXPECT_EQ(importKarabiner(R"({"profiles":[{}]})")->rules, 0u);
}

TEST(KarabinerImport, CountsEveryRuleOfTheExample) {
    const auto report = importKarabiner(importExample("every-construct.karabiner.json"));
    ASSERT_TRUE(report);
    // By hand: seven, four, one, one, eighteen, an empty rule, and one.
    EXPECT_EQ(report->rules, 33u);
    EXPECT_EQ(report->converted, 13u);
    EXPECT_EQ(report->omitted.size(), 20u);
    EXPECT_EQ(lines(report->omitted).front(), "96: no rule that could be converted goes on from here");
}

} // namespace
} // namespace varnel
