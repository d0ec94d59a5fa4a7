#include "config/ConfigCheck.h"
#include "config/ConfigDocument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

namespace varnel {
namespace {

constexpr const char* kFirstID = "6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C";
constexpr const char* kOpen =
    R"("action":{"pluginID":"core.application","actionID":"open","params":{"path":"/A"}})";

std::string item(const std::string& name, const std::string& keys, const std::string& rest = "") {
    return R"({"name":")" + name + R"(","keys":)" + keys + "," + (rest.empty() ? kOpen : rest) +
           (rest.contains("\"type\":\"group\"") ? "}" : R"(,"type":"action"})");
}

std::string document(const std::vector<std::string>& items, const std::string& settings = "{}") {
    std::string text = "{\"items\":[";
    for (const std::string& each : items)
        text += (text.ends_with('[') ? "\n" : ",\n") + each;
    return text + "\n],\"pluginSettings\":" + settings + "}";
}

/// "code path line:column" of every finding that is no note.
std::vector<std::string> findings(const std::string& text,
                                  const CheckSurroundings& surroundings = {.actions = builtInActions()}) {
    std::vector<std::string> found;
    for (const Diagnostic& each : checkDocument(text, surroundings))
        if (each.severity != Severity::note)
            found.push_back(each.code + " " + each.path + " " + std::to_string(each.position.line) + ":" +
                            std::to_string(each.position.column));
    return found;
}

TEST(ConfigCheck, FindsNothingWrongWithTheDefault) {
    const ConfigFileDocument standard = makeDefaultDocument();
    EXPECT_TRUE(findings(*encodeDocument(standard.items, standard.pluginSettings)).empty());
}

TEST(ConfigCheck, ReportsATextThatDoesNotLoadAsOneError) {
    const auto found =
        checkDocument("{\"items\":[\n {\"name\":1}],\"pluginSettings\":{}}", CheckSurroundings{});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(describe(found[0], "f.json"),
              "f.json:2:10: error: items[0].name: expected a string, found a number "
              "(line 2, column 10) [invalid-configuration]");
    EXPECT_EQ(found[0].path, "items[0].name");
    EXPECT_EQ(checkDocument("[", CheckSurroundings{}).at(0).code, "invalid-json");
    EXPECT_EQ(checkDocument("5", CheckSurroundings{}).at(0).code, "invalid-configuration");
}

TEST(ConfigCheck, FindsTriggersThatCollideOrCannotBeUsed) {
    const std::string group = R"("type":"group")";
    const std::string passing = group + R"(,"allowsPassthroughPrefix":true)";
    const struct {
        const char* name;
        std::vector<std::string> items;
        std::vector<std::string> found;
    } rows[] = {
        {"equal",
         {item("A", R"(["ctrl+j","a"])"), item("B", R"(["Ctrl+J"," a "])")},
         {"equal-trigger items[1].keys 3:20"}},
        {"equal when typed",
         {item("A", R"(["enter"])"), item("B", R"(["return"])")},
         {"equal-trigger items[1].keys 3:20"}},
        {"equal to a group",
         {item("A", R"(["a"])", group), item("B", R"(["a"])")},
         {"empty-group items[0].keys 2:20", "equal-trigger items[1].keys 3:20"}},
        {"longer than an action",
         {item("A", R"(["a","b","c"])"), item("B", R"(["a","b"])")},
         {"unreachable-trigger items[0].keys 2:20"}},
        {"below a disabled action",
         {item("A", R"(["a","b"])"), item("B", R"(["a"])", std::string(kOpen) + R"(,"isEnabled":false)")},
         {}},
        {"below a group", {item("A", R"(["a","b"])"), item("B", R"(["a"])", group)}, {}},
        {"beside a deeper group whose first key passes",
         {item("A", R"(["a","b"])", passing), item("B", R"(["a","B","c"])"), item("C", R"(["A","d"])")},
         {"unreachable-trigger items[2].keys 4:20"}},
        {"beside a group whose key passes",
         {item("A", R"(["a","b"])", passing), item("B", R"(["a"])", passing), item("C", R"(["a","d"])")},
         {"empty-group items[0].keys 2:20"}},
        {"groups with and without members",
         {item("A", R"(["Enter"])", group), item("B", R"(["return","b"])", group),
          item("C", R"(["return","c"])", std::string(kOpen) + R"(,"isEnabled":false)"),
          item("D", R"(["d"])", group + R"(,"isEnabled":false)")},
         {"empty-group items[1].keys 3:20"}},
        {"escape later",
         {item("A", R"(["a","keycode53"])"), item("B", R"(["escape"])"), item("C", R"(["b","cmd+escape"])")},
         {"unreachable-trigger items[0].keys[1] 2:25"}},
        {"unknown key", {item("A", R"(["ctrl+j","fooo"])")}, {"untypable-trigger items[0].keys[1] 2:30"}},
        {"several bare modifiers",
         {item("A", R"(["cmd"])"), item("B", R"(["cmd+shift"])")},
         {"untypable-trigger items[1].keys[0] 3:21"}},
        {"modifier by code",
         {item("A", R"(["keycode55"])"), item("B", R"([""])")},
         {"untypable-trigger items[0].keys[0] 2:21", "untypable-trigger items[1].keys[0] 3:21"}},
        {"no keys",
         {item("A", "[]"), item("B", "[]")},
         {"empty-keys items[0].keys 2:20", "empty-keys items[1].keys 3:20"}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(findings(document(row.items)), row.found) << row.name;
}

TEST(ConfigCheck, FindsActionsThatCannotRun) {
    const struct {
        const char* action;
        std::vector<std::string> found;
    } rows[] = {
        {"null", {"missing-action items[0].action 2:35"}},
        {R"({"pluginID":"core.aplication","actionID":"open"})",
         {"unknown-action items[0].action.pluginID 2:47"}},
        {R"({"pluginID":"core.shell","actionID":"open"})", {"unknown-action items[0].action.actionID 2:71"}},
        {R"({"pluginID":"core.shell","actionID":"run"})", {"missing-parameter items[0].action 2:35"}},
        {R"({"pluginID":"core.shell","actionID":"run","params":{}})",
         {"missing-parameter items[0].action.params 2:86"}},
        {R"({"type":"application"})", {"missing-parameter items[0].action 2:35"}},
        {R"({"pluginID":"core.application","actionID":"open","params":{"path":" "}})",
         {"missing-parameter items[0].action.params.path 2:101"}},
        {R"({"type":"keyboardShortcut","shortcut":"cmd+nokey"})", {"invalid-shortcut items[0].action 2:35"}},
        {R"({"pluginID":"core.shortcut","actionID":"press","params":{"shortcut":"cmd"}})",
         {"invalid-shortcut items[0].action.params.shortcut 2:103"}},
        {R"({"pluginID":"core.shortcut","actionID":"press","params":{"shortcut":"cmd+c"}})", {}},
        {R"({"pluginID":"core.running-apps","actionID":"activate"})", {}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(findings(document({item("A", R"(["a"])", std::string(R"("action":)") + row.action)})),
                  row.found)
            << row.action;
}

/// The findings of one action that a plugin "p" offers, with the path behind "params.".
std::string parameterFindings(const std::vector<KnownAction::Form>& forms, const std::string& params) {
    const CheckSurroundings surroundings{.actions = {{"p", "a", forms}}};
    std::string all;
    for (const std::string& found :
         findings(document({item("A", R"(["a"])",
                                 R"("action":{"pluginID":"p","actionID":"a","params":)" + params + "}")}),
                  surroundings)) {
        const std::string code = found.substr(0, found.find(' '));
        const std::size_t key = found.find("params.");
        all += (all.empty() ? "" : ", ") + code +
               (key == std::string::npos ? "" : " " + found.substr(key + 7, found.rfind(' ') - key - 7));
    }
    return all;
}

TEST(ConfigCheck, HoldsParametersAgainstTheFormsOfTheAction) {
    using enum KnownAction::Parameter::Kind;
    const KnownAction::Form form{
        {.key = "note", .kind = text, .required = true},
        {.key = "mode", .kind = choice, .choices = {"edit", "read", 3}, .defaultValue = "read"},
        {.key = "line", .kind = integer, .required = true, .dependsOn = "mode", .shownWhen = {"edit", "3"}},
        {.key = "loose", .kind = choice, .choices = {"left-half"}, .ignoresSpelling = true},
        {.key = "scale", .kind = number},
        {.key = "wide", .kind = boolean},
        {.key = "press", .kind = shortcut},
        {.key = "filled", .kind = text, .required = true, .defaultValue = "x"}};
    const KnownAction::Form other{{.key = "title", .kind = text, .required = true}};
    const struct {
        const char* params;
        const char* found;
    } rows[] = {
        {R"({"note":"x"})", ""},
        {R"({"note":" "})", "missing-parameter note"},
        {R"({"note":null})", "missing-parameter note"},
        {R"({"nota":"x"})", "missing-parameter"},
        {R"({"note":1})", "mistyped-parameter note"},
        {R"({"note":"x","mode":"edit"})", "missing-parameter"},
        {R"({"note":"x","mode":3,"line":2})", ""},
        {R"({"note":"x","mode":"edit","line":2.5})", "mistyped-parameter line"},
        {R"({"note":"x","line":"not looked at while reading"})", ""},
        {R"({"note":"x","mode":"Edit"})", "mistyped-parameter mode"},
        {R"({"note":"x","loose":"Left half"})", ""},
        {R"({"note":"x","scale":"1"})", "mistyped-parameter scale"},
        {R"({"note":"x","wide":"true","scale":1e3})", "mistyped-parameter wide"},
        {R"({"note":"x","press":"cmd"})", "invalid-shortcut press"},
        {R"({"note":"x","press":""})", ""},
        {R"({"note":"x","scal":1})", "unknown-parameter scal"},
        {R"({"note":"x","entirelyDifferent":1})", ""},
        {R"({"title":"x"})", ""},
        {R"({"title":1,"note":1,"wide":1})", "mistyped-parameter title"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(parameterFindings({form, other}, row.params), row.found) << row.params;
}

TEST(ConfigCheck, KnowsWhatRunsOnThisMachine) {
    const CheckSurroundings surroundings{.actions = builtInActions(),
                                         .unavailablePlugins = {{"user.notes", true, "It is not trusted."},
                                                                {"core.shell", false, "It is disabled."}},
                                         .whyNoApplication = [](const std::string& path) {
                                             return path == "/A" ? std::string("there is no /A")
                                                                 : std::string();
                                         }};
    const auto action = [](const std::string& plugin, const std::string& rest = "") {
        return R"("action":{"pluginID":")" + plugin + R"(","actionID":"run","params":{"command":"x"}})" +
               rest;
    };
    const std::string elsewhere =
        R"("action":{"pluginID":"core.application","actionID":"open","params":{"path":"/B"}})";
    EXPECT_EQ(findings(document({item("A", R"(["a"])"), item("B", R"(["b"])", elsewhere),
                                 item("C", R"(["c"])", action("user.notes")),
                                 item("D", R"(["d"])", action("core.shell"))}),
                       surroundings),
              (std::vector<std::string>{"missing-application items[0].action.params.path 2:101",
                                        "untrusted-plugin items[2].action.pluginID 4:47",
                                        "inactive-plugin items[3].action.pluginID 5:47"}));
    const std::string off = R"(,"isEnabled":false)";
    EXPECT_TRUE(findings(document({item("A", R"(["a"])", kOpen + off),
                                   item("C", R"(["c"])", action("user.notes", off))}),
                         surroundings)
                    .empty())
        << "a disabled item may be for another machine";
}

TEST(ConfigCheck, NotesOlderFormsAndSpellings) {
    std::vector<std::string> notes;
    for (const Diagnostic& each : checkDocument("[" +
                                                    item("A", R"([" CMD ","Shift+ctrl+K","enter"])",
                                                         R"("action":{"type":"application","path":"/A"})") +
                                                    "]",
                                                builtInActions())) {
        EXPECT_EQ(each.severity, Severity::note) << each.message;
        notes.push_back(each.code + " " + each.path);
    }
    EXPECT_EQ(notes, (std::vector<std::string>{"older-form ", "missing-id [0]", "spelling [0].keys[0]",
                                               "spelling [0].keys[1]", "older-form [0].action"}));
}

TEST(ConfigCheck, NamesTheDamageRatherThanWhereReadingGaveUp) {
    const struct {
        const char* text;
        int line;
        const char* hint;
    } rows[] = {
        {"{\n  \"items\": [\n    {\n      \"a\": [\n        1\n      \"b\": 2\n    }\n  ]\n}\n", 6,
         "expected"},
        {"{\n  \"items\": [\n    {\n      \"a\": {\n        \"b\": 1,\n      \"c\": 2\n    },\n    {\n"
         "      \"d\": 1\n    }\n  ]\n}\n",
         6, "brackets and indentation"},
        {"{\n  \"items\": []\n\n\n  \"pluginSettings\": {}\n}\n", 2, "look at the end of line 2"},
        {"{\"items\": [{\n\"name\": \"A\",\n\"type\": \"group\",\n\"kees\": []}],\n\"pluginSettings\": {}}",
         4, "did you mean \"keys\" by \"kees\"?"},
    };
    for (const auto& row : rows) {
        const auto found = checkDocument(row.text, CheckSurroundings{});
        ASSERT_EQ(found.size(), 1u);
        EXPECT_EQ(found[0].position.line, row.line) << found[0].message;
        EXPECT_TRUE(found[0].message.contains(row.hint)) << found[0].message;
    }
}

TEST(ConfigRules, AreAllInTheDocumentationAsTheyAre) {
    std::ifstream file(VARNEL_SOURCE_DIR "/docs/check.md");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::set<std::string_view> codes;
    for (const ConfigRule& rule : configRules()) {
        EXPECT_TRUE(codes.insert(rule.code).second) << rule.code << " is there twice";
        EXPECT_EQ(findConfigRule(rule.code), &rule);
        EXPECT_TRUE(text.contains(
            "| `" + std::string(rule.code) + "` | " + std::string(severityName(rule.severity)) +
            (rule.isFixable ? ", `--fix`" : "") + " | " + rule.explanation() + " " + rule.remedy() + " |\n"))
            << rule.code;
    }
    EXPECT_EQ(findConfigRule("equal"), nullptr);
}

TEST(ConfigCheck, FindsWhatSavingWouldDrop) {
    const std::string withID = std::string(R"("id":")") + kFirstID + "\",";
    const struct {
        std::string text;
        std::vector<std::string> found;
    } rows[] = {
        {R"({"version":1,"items":[],"pluginSettings":{"p":{"any":1}}})", {"dropped-key version 1:12"}},
        {document({item("A", "[\"a\"]", R"("note":1,)" + std::string(kOpen))}),
         {"dropped-key items[0].note 2:33"}},
        {"[" + item("A", "[\"a\"]", R"("action":{"type":"application","path":"/A","command":"x"})") + "]",
         {"dropped-key [0].action.command 1:80"}},
        {document({item("A", "[\"a\"]", R"("allowsPassthroughPrefix":true,)" + std::string(kOpen))}),
         {"dropped-key items[0].allowsPassthroughPrefix 2:52"}},
        {document({item("A", "[\"a\"]", R"("name":"B",)" + std::string(kOpen))}),
         {"duplicate-key items[0].name 2:26"}},
        {document({item("A", "[\"a\"]", withID + kOpen), item("B", "[\"b\"]", withID + kOpen)}),
         {"equal-id items[1].id 3:31"}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(findings(row.text), row.found) << row.text;
}

TEST(ConfigCheck, NamesTheItemThePlaceAndTheRemedy) {
    const auto all = checkDocument(
        document({item("Mail", R"(["enter"])"),
                  item("", R"(["return"])", std::string(R"("id":")") + kFirstID + "\"," + kOpen)}),
        builtInActions());
    const auto found = std::ranges::find(all, std::string("equal-trigger"), &Diagnostic::code);
    ASSERT_NE(found, all.end());
    EXPECT_EQ(found->message,
              "items[1] has the trigger \"return\", typed like \"enter\", also bound by \"Mail\" (items[0]); "
              "only the first enabled one runs. Change or remove one of them.");
    EXPECT_EQ(found->itemID, kFirstID);
    EXPECT_EQ(found->severity, Severity::warning);
    ASSERT_TRUE(found->related);
    EXPECT_EQ(found->related->path + " " + std::to_string(found->related->position.line), "items[0].keys 2");
    const auto unknown =
        checkDocument(document({item("A", R"(["a"])", R"("action":{"pluginID":"zzzzzzzz","actionID":"z"})")}),
                      builtInActions());
    ASSERT_EQ(unknown.size(), 2u);
    EXPECT_EQ(unknown[0].code, "missing-id");
    EXPECT_EQ(unknown[1].message, "\"A\" (items[0]) uses \"zzzzzzzz\", a capability that is not known here. "
                                  "Install the capability or correct \"pluginID\".");
}

} // namespace
} // namespace varnel
