#include "plugins/PluginManifest.h"

#include "base/JSONWriter.h"
#include "plugins/PluginProtocol.h"
#include "plugins/PluginValidation.h"
#include "tests/plugins/TestPackages.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

const char* const kFullManifest = R"({
  "id": "example.notes",
  "name": "Notes",
  "version": "1.2.0",
  "executable": "bin/notes-plugin",
  "capabilities": ["actions", "settings", "hooks"],
  "hooks": ["appDidLaunch", "configDidReload"],
  "settingsSchema": [
    { "key": "vault", "type": "path", "pathKind": "directory", "title": "Vault", "required": true }
  ],
  "unknown": { "is": "ignored" },
  "actions": [
    { "id": "open", "name": "Open note", "description": "Opens a note",
      "itemName": { "title": "Item name", "required": false, "placeholder": "Note" },
      "mainElementKey": "note",
      "parametersSchema": [
        { "key": "note", "type": "string", "title": "Note", "required": true, "order": 0 },
        { "key": "mode", "type": "enum", "title": "Mode", "required": false, "default": "edit",
          "options": [ { "label": "Edit", "value": "edit" }, { "label": "Read", "value": null } ] },
        { "key": "line", "type": "integer", "title": "Line", "required": false, "helpText": null,
          "dependsOn": "mode", "visibleWhen": ["edit"] }
      ],
      "forms": [
        { "id": "quick", "title": "Quick", "mainElementKey": "note",
          "parametersSchema": [ { "key": "note", "type": "string", "title": "Note", "required": true } ] },
        { "id": "bare", "title": "Bare" }
      ] }
  ]
})";

TEST(PluginManifest, HoldsEveryMemberOfItsJSON) {
    auto manifest = decodePluginManifest(kFullManifest);
    ASSERT_TRUE(manifest) << describe(manifest.error());
    EXPECT_EQ(manifest->id, "example.notes");
    EXPECT_EQ(manifest->executable, "bin/notes-plugin");
    EXPECT_EQ(manifest->capabilities.size(), 3u);
    EXPECT_TRUE(manifest->wantsHook(PluginHook::configDidReload));
    ASSERT_TRUE(manifest->settingsSchema);
    EXPECT_EQ(manifest->settingsSchema->at(0).pathKind, PluginPathKind::directory);
    const PluginActionDescriptor* action = manifest->findAction("open");
    ASSERT_TRUE(action);
    EXPECT_EQ(action->itemName->placeholder, "Note");
    EXPECT_EQ(action->parametersSchema[1].type, PluginFieldKind::enumChoice);
    EXPECT_EQ(action->parametersSchema[1].defaultValue, JSONValue("edit"));
    EXPECT_EQ(action->parametersSchema[1].options->at(1).value, JSONValue());
    EXPECT_EQ(action->parametersSchema[0].order, 0);
    EXPECT_EQ(action->parametersSchema[2].helpText, std::nullopt);
    EXPECT_EQ(action->forms->at(1).parametersSchema.size(), 0u);
    EXPECT_EQ(manifest->findAction("close"), nullptr);
}

TEST(PluginManifest, SurvivesEncodingAndDecoding) {
    auto manifest = decodePluginManifest(kFullManifest);
    ASSERT_TRUE(manifest);
    JSONValue encoded = encodePluginManifest(*manifest);
    EXPECT_EQ(decodePluginManifest(writePrettyJSON(encoded)), *manifest);
    const JSONValue& field = encoded.find("actions")->array()->at(0).find("parametersSchema")->array()->at(2);
    EXPECT_EQ(*field.find("type"), JSONValue("integer"));
    EXPECT_FALSE(field.find("helpText")) << "absent members are left out";
}

TEST(PluginManifest, NamesThePlaceOfWhatDoesNotDecode) {
    const std::string head =
        R"({"id":"a","name":"A","version":"1","executable":"x","capabilities":[],"actions":)";
    const std::string action = head + "[{\"id\":\"go\",\"name\":\"Go\",\"description\":\"\",\n";
    const struct {
        std::string name, text, description;
    } rows[] = {
        {"no JSON", "{,", "expected a key in quotes, found ',' (line 1, column 2)"},
        {"no object", "[]", "expected an object, found an array (line 1, column 1)"},
        {"missing", R"({"id":"a"})", "name: expected a string, found nothing (line 1, column 1)"},
        {"wrong type", "{\n \"id\": 7}", "id: expected a string, found a number (7) (line 2, column 8)"},
        {"null is not a value", R"({"id":null})", "id: expected a string, found null (line 1, column 7)"},
        {"no list", head + "true}",
         "actions: expected an array of actions, found a boolean (line 1, column 81)"},
        {"field without required",
         action + R"("parametersSchema":[{"key":"k","type":"string","title":""}]}]})",
         "actions[0].parametersSchema[0].required: expected a boolean, found nothing (line 2, column 21)"},
        {"name of the case", action + R"("parametersSchema":[{"key":"k","type":"enumChoice"}]}]})",
         "actions[0].parametersSchema[0].type: expected one of \"string\", \"shortcut\", \"boolean\", "
         "\"enum\", "
         "\"path\", \"integer\", \"number\", found a string (\"enumChoice\") (line 2, column 39)"},
        {"order",
         action + R"("forms":[{"id":"f","title":"F","parametersSchema":[{"key":"k","type":"path",)" +
             R"("title":"","required":true,"order":1.5}]}]}]})",
         "actions[0].forms[0].parametersSchema[0].order: expected a whole number, found a number (1.5) (line "
         "2, "
         "column 112)"},
        {"hook", head + R"([],"hooks":["appDidLaunch","quit"]})",
         "hooks[1]: expected one of \"appDidLaunch\", \"configDidReload\", found a string (\"quit\") (line "
         "1, column "
         "108)"},
        {"element of a list",
         action + R"("parametersSchema":[{"key":"k","type":"path","title":"","required":true,)" +
             R"("visibleWhen":["a",1]}]}]})",
         "actions[0].parametersSchema[0].visibleWhen[1]: expected a string, found a number (1) (line 2, "
         "column 92)"},
    };
    for (const auto& row : rows) {
        auto manifest = decodePluginManifest(row.text);
        ASSERT_FALSE(manifest) << row.name;
        EXPECT_TRUE(describe(manifest.error()).starts_with(row.description))
            << row.name << ": " << describe(manifest.error());
    }
}

/// A valid manifest, to be spoilt.
PluginManifest validManifest() {
    PluginManifest manifest;
    manifest.id = "a", manifest.name = "A", manifest.executable = "run";
    PluginActionDescriptor action;
    action.id = "go", action.name = "Go";
    action.parametersSchema = {{.key = "note"}};
    manifest.actions = {action};
    return manifest;
}

TEST(PluginValidation, ReportsEveryProblemInOrder) {
    using Messages = std::vector<std::string>;
    const PluginActionFormSchema form{.id = "f", .title = "F", .parametersSchema = {{.key = "inner"}}};
    const struct {
        const char* name;
        std::function<void(PluginManifest&)> spoil;
        Messages messages;
    } rows[] = {
        {"nothing", [](PluginManifest&) {}, {}},
        {"blank texts",
         [](PluginManifest& m) { m.id = "  ", m.name = "\n", m.executable = "\t"; },
         {"The manifest must include a non-empty ID.", "The manifest must include a capability name.",
          "The manifest must specify an executable.", "The executable does not exist."}},
        {"no executable at all",
         [](PluginManifest& m) { m.executable = ""; },
         {"The manifest must specify an executable.",
          "The executable must be inside the capability package."}},
        {"executable by a detour", [](PluginManifest& m) { m.executable = "./bin/../run"; }, {}},
        {"executable outside",
         [](PluginManifest& m) { m.executable = "../run"; },
         {"The executable does not exist.", "The executable must be inside the capability package."}},
        {"executable with an absolute path",
         [](PluginManifest& m) { m.executable = "/bin/sh"; },
         {"The executable does not exist.", "The executable must be inside the capability package."}},
        {"equal actions",
         [](PluginManifest& m) {
             m.actions[0].name = " ";
             m.actions.resize(3, m.actions[0]);
         },
         {"Action IDs must be unique.", "Action 'go' must have a name.", "Action 'go' must have a name.",
          "Action 'go' must have a name."}},
        {"action",
         [&](PluginManifest& m) {
             auto& action = m.actions[0];
             action.itemName = PluginItemNameSchema{.title = " "};
             action.forms = {form, form};
             action.forms->at(0).title = "";
             action.mainElementKey = "inner";
             action.parametersSchema = {{.key = "x"}, {.key = "x"}};
         },
         {"Action 'go' has an empty item name title.", "Action 'go' has duplicate forms.",
          "Action form 'go' must have a name.", "Action 'go' references a missing mainElementKey.",
          "Fields in action 'go' must have unique keys."}},
        {"forms",
         [&](PluginManifest& m) {
             PluginActionFormSchema blank = form, missing = form, twice = form;
             blank.id = "blank", blank.mainElementKey = " ";
             missing.id = "missing", missing.mainElementKey = "note";
             twice.id = "twice", twice.mainElementKey = " inner\n";
             twice.parametersSchema = {{.key = "inner"}, {.key = "inner"}};
             m.actions[0].forms = {blank, missing, twice};
         },
         {"Form 'blank' in action 'go' has an empty mainElementKey.",
          "Form 'missing' in action 'go' references a missing mainElementKey.",
          "Fields in form 'twice' for action 'go' must have unique keys."}},
        {"main element with blanks", [](PluginManifest& m) { m.actions[0].mainElementKey = " note "; }, {}},
        {"key with blanks",
         [](PluginManifest& m) {
             m.actions[0].mainElementKey = "note";
             m.actions[0].parametersSchema[0].key = " note ";
         },
         {"Action 'go' references a missing mainElementKey."}},
        {"empty main element",
         [](PluginManifest& m) { m.actions[0].mainElementKey = ""; },
         {"Action 'go' has an empty mainElementKey."}},
        {"allowed oddities",
         [](PluginManifest& m) {
             m.actions[0].parametersSchema = {
                 {.key = "", .options = std::vector<PluginFieldOption>(), .dependsOn = "no"}};
             m.settingsSchema = {{.key = "s"}, {.key = "s"}};
         },
         {}},
    };
    for (const auto& row : rows) {
        PluginManifest manifest = validManifest();
        row.spoil(manifest);
        auto messages = validatePluginManifest(
            manifest, "/p/pkg/", pluginExecutablePath("/p/pkg/", manifest.executable),
            [](const std::string& path) { return path == "/p/pkg/run" || path == "/p/pkg"; });
        EXPECT_EQ(messages, row.messages) << row.name;
    }
}

TEST(PluginManifest, OrdersAndHidesFieldsOfAForm) {
    const std::vector<PluginFieldSchema> fields = {
        {.key = "last"},
        {.key = "b", .order = 2},
        {.key = "a", .order = 1},
        {.key = "c", .order = 2},
        {.key = "mode", .defaultValue = JSONValue(true), .order = 9},
        {.key = "line", .order = 10, .dependsOn = "mode", .visibleWhen = {{"true", "edit"}}}};
    std::string order;
    for (const PluginFieldSchema* field : orderedFields(fields))
        order += field->key + " ";
    EXPECT_EQ(order, "a b c mode line last ");
    EXPECT_TRUE(isFieldVisible(fields[5], fields, {})) << "the default counts";
    EXPECT_TRUE(isFieldVisible(fields[5], fields, {{"mode", "edit"}}));
    EXPECT_FALSE(isFieldVisible(fields[5], fields, {{"mode", "read"}}));
    EXPECT_TRUE(isFieldVisible(fields[0], fields, {}));
}

TEST(PluginProtocol, WritesRequestsOnOneLineWithoutAbsentMembers) {
    PluginExecutionRequest request{"example.notes", "open", {{"note", "In/box\n"}}, {{"vault", "/v"}}, {}};
    request.context = {"/c.json", "com.apple.finder",
                       pluginTimestamp(std::chrono::sys_seconds(std::chrono::seconds(1735732800)))};
    EXPECT_EQ(
        encodeRequest(request),
        R"({"actionID":"open","context":{"configPath":"/c.json","frontmostAppBundleID":"com.apple.finder",)"
        R"("timestamp":"2025-01-01T12:00:00Z"},"params":{"note":"In/box\n"},"pluginID":"example.notes",)"
        R"("settings":{"vault":"/v"}})");
    PluginHookRequest hook{"p", PluginHook::configDidReload, {}, {"/c", std::nullopt, "t"}};
    EXPECT_EQ(encodeRequest(hook),
              R"({"context":{"configPath":"/c","timestamp":"t"},"hook":"configDidReload",)"
              R"("pluginID":"p","settings":{}})");
    request.params["note"] = "\xff";
    EXPECT_FALSE(encodeRequest(request));
}

TEST(PluginProtocol, ReadsResponsesStrictlyButForWhiteSpace) {
    PluginExecutionResponse full{true, "m", {{"k"}}, {{{"note", 1}}}, {{"w"}}};
    const struct {
        std::string text;
        std::variant<PluginExecutionResponse, std::string> expected;
    } rows[] = {
        {" \n\t{\"success\":true}\r\n\n", PluginExecutionResponse{.success = true}},
        {R"({"success":false,"message":null,"extra":[]})", PluginExecutionResponse{}},
        {R"({"success":true,"message":"m","searchKeywords":["k"],"updatedDefaults":{"note":1},"warnings":["w"]})",
         full},
        {R"({"message":"m"})", "success: expected a boolean, found nothing (line 1, column 1)"},
        {R"({"success":1})", "success: expected a boolean, found a number (1) (line 1, column 12)"},
        {R"({"success":true,"warnings":"w"})",
         "warnings: expected an array of strings, found a string (\"w\") (line 1, column 28)"},
        {R"({"success":true,"updatedDefaults":[]})", "updatedDefaults: expected an object, found an array"},
        {R"({"success":true} {})", "expected "},
        {R"({"success":true})"
         "\xff",
         "expected "},
        {"", "expected a value, found "},
    };
    for (const auto& row : rows) {
        auto response = decodeResponse(row.text);
        if (const auto* expected = std::get_if<PluginExecutionResponse>(&row.expected)) {
            ASSERT_TRUE(response) << row.text << describe(response.error());
            EXPECT_EQ(*response, *expected) << row.text;
            EXPECT_EQ(decodeResponse(encodeResponse(*response)), *response);
        } else {
            ASSERT_FALSE(response) << row.text;
            EXPECT_TRUE(describe(response.error()).starts_with(std::get<std::string>(row.expected)))
                << describe(response.error());
        }
    }
}

TEST(PluginProtocol, ReadsChoices) {
    using Choices = std::vector<PluginChoice>;
    EXPECT_EQ(decodeChoices(
                  R"({"choices":[{"id":"1","title":"One","detail":"d","label":"j"},{"id":"2","title":""}]})"),
              (Choices{{"1", "One", "d", "j"}, {"2", "", std::nullopt, std::nullopt}}));
    EXPECT_EQ(decodeChoices(R"({"choices":[]})"), Choices());
    EXPECT_EQ(describe(decodeChoices(R"({"choices":[{"id":"1"}]})").error()),
              "choices[0].title: expected a string, found nothing (line 1, column 13)");
}

} // namespace
} // namespace varnel
