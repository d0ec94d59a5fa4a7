#include "runtime/simulator/Expectations.h"

#include "config/ConfigDocument.h"

#include <gtest/gtest.h>

namespace varnel::simulation {
namespace {

ConfigItem item(std::string name, std::vector<std::string> keys) {
    ConfigItem made;
    made.id = Uuid::random();
    made.name = std::move(name);
    made.keys = std::move(keys);
    return made;
}

ConfigItem action(std::string name, std::vector<std::string> keys, JSONValue::Object params = {}) {
    ConfigItem made = item(std::move(name), std::move(keys));
    made.action = ConfigAction{core::application, "open", std::move(params)};
    return made;
}

ConfigItems items() {
    ConfigItem through = item("Through", {"ctrl+c"});
    through.type = ItemType::group;
    through.allowsPassthroughPrefix = true;
    ConfigItem disabled = action("Off", {"ctrl+j", "o"});
    disabled.isEnabled = false;
    return std::make_shared<const std::vector<ConfigItem>>(std::vector{
        action("Chrome", {"ctrl+j", "w", "g"}), action("  Tap # two ", {"cmd", "cmd"}),
        action("nothing", {"f1"}), action("Copy", {"ctrl+c", "c"}), through, disabled,
        action("Choose", {"f2"}, {{"path", "/A"}, {"windowSelectionMode", "chooseWhenMultiple"}})});
}

/// "line:column message" of every finding.
std::vector<std::string> findings(std::string_view text) {
    std::vector<std::string> found;
    for (const Diagnostic& each : checkExpectations(text, "c.expect", items())) {
        EXPECT_EQ(each.path, "c.expect");
        EXPECT_EQ(each.severity, Severity::error);
        found.push_back(std::to_string(each.position.line) + ":" + std::to_string(each.position.column) +
                        " " + each.message);
    }
    return found;
}

TEST(Expectations, HoldWhereTheEngineDoesWhatTheySay) {
    EXPECT_EQ(findings("# all of these hold\r\n"
                       "Ctrl+J w  G -> Chrome# and more\n" // no white space: a part of the name
                       "\n"
                       "  ctrl+j w g -> Chrome   # comment\r\n"
                       "cmd cmd->\"Tap # two\"\n"
                       "f1 -> \"nothing\"\n"
                       "ctrl+c c -> Copy\n"
                       "f2 -> Choose\n"
                       "f2 -> Choose\n" // the choice of the line before is over
                       "ctrl+j o -> nothing\n"
                       "ctrl+j w -> nothing\n"
                       "q -> nothing # plain typing"),
              (std::vector<std::string>{
                  R"(2:1 Typing "Ctrl+J w G": "Chrome# and more" was to run, but "Chrome" runs.)"}));
}

TEST(Expectations, TellWhatHappensInstead) {
    const std::pair<const char*, const char*> rows[] = {
        {"ctrl+j w -> Chrome",
         R"(Typing "ctrl+j w": "Chrome" was to run, but nothing runs yet: g may follow.)"},
        {"ctrl+j w g h -> Chrome",
         R"(Typing "ctrl+j w g h": "Chrome" was to run, but "Chrome" runs already at "g".)"},
        {"ctrl+j x -> Chrome",
         R"(Typing "ctrl+j x": "Chrome" was to run, but nothing runs: "x" fits nothing there and ends the sequence.)"},
        {"x -> Chrome",
         R"(Typing "x": "Chrome" was to run, but nothing runs: "x" begins no trigger and reaches the application.)"},
        {"f1 -> nothing", R"(Typing "f1": nothing was to run, but "nothing" runs.)"},
        {"f1 f1 -> nothing",
         R"(Typing "f1 f1": nothing was to run, but "nothing" runs already at "f1", "nothing" runs.)"},
        {"ctrl+j w g",
         R"(The expectation cannot be understood: "->" is missing. Write keys -> name, or keys -> nothing.)"},
        {"-> Chrome", R"(The expectation cannot be understood: there are no keys before "->".)"},
        {"f1 -> ",
         R"(The expectation cannot be understood: there is no name after "->". Write nothing where nothing runs.)"},
        {"f1 -> \"x", R"(The expectation cannot be understood: the name ""x" is not quoted correctly.)"},
        {"cmd+shift -> X",
         R"(The expectation cannot be understood: bare modifiers are tapped one at a time: "cmd+shift".)"},
        {"f1 fooo -> X", "The expectation cannot be understood: unknown key 'fooo'."},
    };
    for (const auto& [line, message] : rows)
        EXPECT_EQ(findings("\n  " + std::string(line)), std::vector{"2:3 " + std::string(message)}) << line;
}

} // namespace
} // namespace varnel::simulation
