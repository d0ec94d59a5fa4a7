#include "runtime/simulator/Simulator.h"

#include "KeyboardTestSupport.h"

#include <gtest/gtest.h>

namespace varnel::simulation {
namespace {

using namespace test;

const std::vector<ConfigItem> kItems{action("Terminal", {"ctrl+j", "s", "t"}),
                                     action("Editor", {"ctrl+j", "e"})};

TEST(Simulator, WritesOneLineForEachEvent) {
    std::string lines;
    const auto result =
        simulate("press ctrl+j # opens\nwait 0.5s\npress e\nwait 1s\n\nrepeat x", share(kItems), {},
                 [&](const Record& record) { lines += jsonLine(record) + "\n"; });
    ASSERT_TRUE(result);
    EXPECT_EQ(
        lines,
        R"x({"t":0,"event":"flagsChanged","tokens":[],"swallowed":false,"state":"idle","sequence":[],"hints":[],"runs":null,"status":null}
{"t":0.01,"event":"keyDown","tokens":["ctrl+j"],"swallowed":true,"state":"capture","sequence":["ctrl+j"],"hints":["e","s"],"runs":null,"status":null}
{"t":0.03,"event":"flagsChanged","tokens":[],"swallowed":true,"state":"capture","sequence":["ctrl+j"],"hints":["e","s"],"runs":null,"status":null}
{"t":0.53,"event":"keyDown","tokens":["e"],"swallowed":true,"state":"selectionFeedback","sequence":["ctrl+j","e"],"hints":[],"runs":{"id":"00000000-0000-0000-0000-000000000000","name":"Editor","pluginID":"test","actionID":"run"},"status":null}
{"t":0.78,"event":"timer","tokens":[],"swallowed":false,"state":"idle","sequence":[],"hints":[],"runs":null,"status":null}
{"t":1.54,"event":"keyDown","tokens":[],"swallowed":false,"state":"idle","sequence":[],"hints":[],"runs":null,"status":null}
)x");
}

TEST(Simulator, AddsHeldModifiersAndSpacesEvents) {
    std::vector<std::string> seen;
    const auto result = simulate(
        "down shift\nkey k\npress ctrl+shift+k\nup shift\nhold cmd 250ms\nhold cmd 251ms", share({}), {},
        [&](const Record& r) {
            seen.push_back(
                std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(r.time).count()) +
                (r.tokens.empty() ? "" : r.tokens[0]));
        });
    ASSERT_TRUE(result);
    EXPECT_EQ(seen, (Keys{"0", "0shift+k", "0", "10ctrl+shift+k", "30", "30", "30", "280cmd", "280", "531"}));
}

TEST(Simulator, ReloadsAndSetsPreferences) {
    std::string states;
    const auto load = [](const std::string& path) -> std::expected<ConfigItems, std::string> {
        EXPECT_EQ(path, "other file.json");
        return share({action("X", {"x", "y"})});
    };
    const auto result = simulate(
        "press ctrl+j\nreload other file.json\nset modifierTapThresholdMilliseconds 400\nhold ctrl 399ms\n"
        "press ctrl+j\npress x",
        share(kItems), load, [&](const Record& r) {
            if (!r.tokens.empty())
                states += r.tokens[0] + "=" + std::string(interactionName(r.state)) + " ";
        });
    ASSERT_TRUE(result);
    EXPECT_EQ(states, "ctrl+j=capture ctrl=idle ctrl+j=idle x=capture ");
}

TEST(Simulator, NamesTheLineOfAMistakeBeforeAnyOutput) {
    const struct {
        const char* script;
        std::size_t line;
        const char* message; ///< part of it
    } rows[] = {
        {"press a\npres b", 2, "did you mean 'press'"},
        {"press foo", 1, "unknown key"},
        {"press", 1, "expected a key"},
        {"press cmd", 1, "bare modifier"},
        {"\n\n# x\ntap k", 4, "expected cmd"},
        {"wait 5", 1, "expected a time"},
        {"wait -5ms", 1, "expected a time"},
        {"wait .s", 1, "expected a time"},
        {"wait 1e3s", 1, "expected a time"},
        {"wait 99999999999999s", 1, "expected a time"},
        {"wait 999999999s", 1, "too long"},
        {"hold cmd", 1, "expected a time"},
        {"press a b", 1, "unexpected 'b'"},
        {"set x", 1, "value"},
        {"set x {", 1, "no JSON"},
        {"suspend", 1, "reason"},
        {"choices \"a", 1, "quotes"},
        {"choices a", 1, "quotes"},
        {"choices \"a\\", 1, "quotes"},
        {"press a\nreload gone.json", 2, "no such"},
    };
    const auto load = [](const std::string&) -> std::expected<ConfigItems, std::string> {
        return std::unexpected(std::string("no such file"));
    };
    for (const auto& row : rows) {
        const auto result =
            simulate(row.script, share({}), load, [&](const Record&) { ADD_FAILURE() << row.script; });
        ASSERT_FALSE(result) << row.script;
        EXPECT_EQ(result.error().line, row.line) << row.script;
        EXPECT_NE(result.error().message.find(row.message), std::string::npos) << result.error().message;
    }
}

TEST(Simulator, ReadsQuotedTitlesAndComments) {
    const auto statements = parseScript("\xEF\xBB\xBF"
                                        "choices \"a # b\" \"\\\"q\\\"\" # c\r\nreload x#1.json\r\n");
    ASSERT_TRUE(statements);
    EXPECT_EQ(std::get<Choices>((*statements)[0].action).titles, (Keys{"a # b", "\"q\""}));
    EXPECT_EQ(std::get<Reload>((*statements)[1].action).path, "x#1.json");
}

} // namespace
} // namespace varnel::simulation
