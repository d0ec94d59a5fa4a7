#include "config/ConfigDocument.h"
#include "config/ConfigStreamReader.h"

#include "base/JSONWriter.h"
#include "config/ConfigTreeDecoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace varnel {
namespace {

constexpr const char* kID = "6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C";

std::string inObject(const std::string& items, const std::string& settings = "{}") {
    return R"({"items":[)" + items + R"(],"pluginSettings":)" + settings + "}";
}

std::string itemWith(const std::string& members) {
    return R"({"id":")" + std::string(kID) + R"(","name":"N","keys":["a","b"],"type":"action")" +
           (members.empty() ? "" : ",") + members + "}";
}

ConfigItem decodedItem(const std::string& members) {
    auto document = decodeDocument(inObject(itemWith(members)));
    EXPECT_TRUE(document) << members << ": " << (document ? "" : describe(document.error()));
    return document ? document->items.at(0) : ConfigItem{};
}

TEST(ConfigDocument, ReadsActionsOfBothForms) {
    const struct {
        const char* text;
        ConfigAction action;
    } rows[] = {
        {R"({"pluginID":"p","actionID":"a","params":{"n":1,"t":true,"z":null}})",
         {"p", "a", {{"n", 1}, {"t", true}, {"z", nullptr}}}},
        {R"({"pluginID":"p","actionID":"a"})", {"p", "a", {}}},
        {R"({"pluginID":"p","actionID":"a","params":null,"type":7})", {"p", "a", {}}},
        {R"({"type":"application","path":"\/A b.app"})",
         {"core.application", "open", {{"path", "/A b.app"}}}},
        {R"({"type":"application","path":null})", {"core.application", "open", {{"path", ""}}}},
        {R"({"type":"shellCommand","command":"ls"})",
         {"core.shell",
          "run",
          {{"command", "ls"}, {"openInTerminal", false}, {"terminalApplication", "terminal"}}}},
        {R"({"type":"shellCommand","openInTerminal":true,"terminalApplication":"x"})",
         {"core.shell", "run", {{"command", ""}, {"openInTerminal", true}, {"terminalApplication", "x"}}}},
        {R"({"type":"windowArrangement","command":"left"})",
         {"core.window", "arrange", {{"arrangement", "left"}}}},
        {R"({"type":"keyboardShortcut","shortcut":"cmd+c"})",
         {"core.shortcut", "press", {{"shortcut", "cmd+c"}}}},
        {R"({"type":"keyboardShortcut","pluginID":"p"})", {"core.shortcut", "press", {{"shortcut", ""}}}},
        {R"({"type":"application","actionID":5})", {"core.application", "open", {{"path", ""}}}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(decodedItem(std::string(R"("action":)") + row.text).action, row.action) << row.text;
}

TEST(ConfigDocument, FillsInWhatAnItemLeavesOut) {
    EXPECT_TRUE(decodedItem("").isEnabled);
    EXPECT_FALSE(decodedItem("").action);
    EXPECT_FALSE(decodedItem(R"("action":null,"isEnabled":false)").isEnabled);
    EXPECT_FALSE(decodedItem(R"("allowsPassthroughPrefix":true)").allowsPassthroughPrefix);
    EXPECT_FALSE(decodedItem(R"("allowsPassthroughPrefix":"ignored on actions")").allowsPassthroughPrefix);
    EXPECT_EQ(decodedItem(R"("type":"group","allowsPassthroughPrefix":true)").allowsPassthroughPrefix, true);
    EXPECT_EQ(decodedItem(R"("name":"later of two","extra":{"deep":[{}]})").name, "later of two");
}

TEST(ConfigDocument, GivesItemsWithoutIdentifierARandomOne) {
    const auto document = decodeDocument(inObject(R"({"name":"N","keys":[],"type":"group"},)"
                                                  R"({"name":"N","keys":[],"type":"group"},)"
                                                  R"({"id":null,"name":"N","keys":[],"type":"group"})"));
    ASSERT_TRUE(document);
    std::set<Uuid> seen = {Uuid{}};
    for (const ConfigItem& item : document->items)
        seen.insert(item.id);
    EXPECT_EQ(seen.size(), 4u);
}

TEST(ConfigDocument, ReadsTheBareListWithoutSettings) {
    EXPECT_EQ(decodeDocument(" [] "), ConfigFileDocument{});
    const auto list = decodeDocument("\xEF\xBB\xBF[" + itemWith("") + "]");
    ASSERT_TRUE(list);
    EXPECT_EQ(list->items, decodeDocument(inObject(itemWith("")))->items);
    EXPECT_TRUE(list->pluginSettings.empty());
}

TEST(ConfigDocument, NamesThePlaceAndTheExpectation) {
    const struct {
        std::string text;
        const char* leading;
    } rows[] = {
        {R"({"items":[]})", "pluginSettings: expected an object, found nothing (line 1, column 1)"},
        {R"({"pluginSettings":{}})", "items: expected an array of items, found nothing (line 1, column 1)"},
        {R"({"items":{},"pluginSettings":{}})",
         "items: expected an array of items, found an object (line 1, column 10)"},
        {inObject("", "null"), "pluginSettings: expected an object, found null (line 1, column 30)"},
        {inObject("", R"({"a.b":3})"),
         "pluginSettings[\"a.b\"]: expected an object, found a number (line 1, column 37)"},
        {"{\"items\":[\n{\"name\":\"ä\",\"keys\":  7}],\n\"pluginSettings\":{}}",
         "items[0].keys: expected an array of strings, found a number (line 2, column 22)"},
        {inObject("\n{\"name\":\"N\"}"),
         "items[0].keys: expected an array of strings, found nothing (line 2, column 1)"},
        {inObject("\n{}"), "items[0].name: expected a string, found nothing (line 2, column 1)"},
        {inObject("\n17"), "items[0]: expected an object, found a number (line 2, column 1)"},
        {inObject("\n{\"name\":\"N\",\"keys\":[\"a\",null],\"type\":\"group\"}"),
         "items[0].keys[1]: expected a string, found null (line 2, column 25)"},
        {inObject(itemWith("\n\"type\":\"folder\"")),
         "items[0].type: expected \"group\" or \"action\", found \"folder\" (line 2, column 8)"},
        {inObject(itemWith("\n\"id\":\"x\"")),
         "items[0].id: expected a UUID (8-4-4-4-12 hexadecimal digits), "
         "found \"x\" (line 2, column 6)"},
        {inObject(itemWith("\n\"isEnabled\":1")),
         "items[0].isEnabled: expected a boolean, found a number (line 2, column 13)"},
        {inObject(itemWith("\"type\":\"group\",\n\"allowsPassthroughPrefix\":1")),
         "items[0].allowsPassthroughPrefix: expected a boolean, found a number (line 2, column 27)"},
        {inObject(itemWith("\n\"action\":{\"type\":\"script\"}")),
         "items[0].action.type: expected \"application\", \"shellCommand\", \"windowArrangement\" or "
         "\"keyboardShortcut\", found \"script\" (line 2, column 18)"},
        {inObject(itemWith("\n\"action\":{\"pluginID\":\"p\"}")),
         "items[0].action: expected \"pluginID\" with \"actionID\", found \"pluginID\" alone (line 2, column "
         "10)"},
        {inObject(itemWith("\n\"action\":{\"pluginID\":\"p\",\"actionID\":\"a\",\"params\":[]}")),
         "items[0].action.params: expected an object, found an array (line 2, column 50)"},
        {inObject(itemWith("\n\"action\":{\"type\":\"application\",\"command\":1}")),
         "items[0].action.command: expected a string, found a number (line 2, column 42)"},
    };
    for (const auto& row : rows) {
        const auto document = decodeDocument(row.text);
        ASSERT_FALSE(document) << row.text;
        EXPECT_EQ(describe(document.error().leading()), row.leading);
        ASSERT_TRUE(document.error().cause) << row.text;
        EXPECT_EQ(document.error().fault.message, "expected an array of items, found an object");
        EXPECT_TRUE(describe(document.error()).starts_with(row.leading));
    }
}

TEST(ConfigDocument, ReportsTheSecondAttemptAloneWhereTheTopLevelIsNoObject) {
    const struct {
        const char* text;
        const char* description;
    } rows[] = {{"[{}]", "[0].name: expected a string, found nothing (line 1, column 2)"},
                {"\n 5", "expected an array of items, found a number (line 2, column 2)"}};
    for (const auto& row : rows) {
        const auto document = decodeDocument(row.text);
        ASSERT_FALSE(document);
        EXPECT_FALSE(document.error().cause);
        EXPECT_EQ(describe(document.error()), row.description);
    }
    for (const std::string text : {"", "{", "[1,]", "{\"items\":[]", "nul", "[] x", "\xFF\xFE[\0]\0"}) {
        const auto document = decodeDocument(text);
        ASSERT_FALSE(document) << text;
        EXPECT_FALSE(document.error().cause) << text;
        EXPECT_GE(document.error().fault.position.line, 1) << text;
    }
}

TEST(ConfigDocument, RefusesNestingBeyondTheLimitOnly) {
    const auto nested = [](int levels) { // the value of "x" is at level 4
        return inObject("", R"({"p":{"x":)" + std::string(levels, '[') + std::string(levels, ']') + "}}");
    };
    EXPECT_TRUE(decodeDocument(nested(kMaximumJSONDepth - 3)));
    EXPECT_FALSE(decodeDocument(nested(kMaximumJSONDepth - 2)));
    EXPECT_FALSE(decodeDocument(std::string(1'000'000, '[')));
}

TEST(ConfigDocument, WritesTheCanonicalFileByteForByte) {
    ConfigItem group{.id = *Uuid::parse(kID),
                     .name = "Größe \"x\"",
                     .keys = {},
                     .type = ItemType::group,
                     .action = std::nullopt,
                     .isEnabled = false,
                     .allowsPassthroughPrefix = true};
    ConfigItem action{.id = *Uuid::parse(kID),
                      .name = "\x01\t",
                      .keys = {"ctrl+j", "/"},
                      .type = ItemType::action,
                      .action =
                          ConfigAction{"p/q", "run", {{"n", 1e21}, {"list", JSONValue::Array{-0.0, 0.1}}}},
                      .isEnabled = true,
                      .allowsPassthroughPrefix = std::nullopt};
    const auto text = encodeDocument({group, action}, {{"z", {}}, {"a", {{"k", nullptr}}}});
    ASSERT_TRUE(text);
    EXPECT_EQ(*text, R"({
  "items" : [
    {
      "action" : null,
      "allowsPassthroughPrefix" : true,
      "id" : "6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C",
      "isEnabled" : false,
      "keys" : [

      ],
      "name" : "Größe \"x\"",
      "type" : "group"
    },
    {
      "action" : {
        "actionID" : "run",
        "params" : {
          "list" : [
            -0,
            0.1
          ],
          "n" : 1e+21
        },
        "pluginID" : "p\/q"
      },
      "id" : "6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C",
      "isEnabled" : true,
      "keys" : [
        "ctrl+j",
        "\/"
      ],
      "name" : "\u0001\t",
      "type" : "action"
    }
  ],
  "pluginSettings" : {
    "a" : {
      "k" : null
    },
    "z" : {

    }
  }
})");
    const auto again = decodeDocument(*text);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->items, (std::vector{group, action}));
    EXPECT_EQ(*encodeDocument({}, {}), "{\n  \"items\" : [\n\n  ],\n  \"pluginSettings\" : {\n\n  }\n}");
}

TEST(ConfigDocument, RefusesToWriteWhatNobodyCouldReadAgain) {
    ConfigItem item = makeDefaultDocument().items[0];
    JSONValue deep;
    for (int level = 0; level < kMaximumJSONDepth - 5; ++level)
        deep = JSONValue::Array{deep};
    const std::pair<const char*, JSONValue> rows[] = {
        {"UTF-8", "\xFF"}, {"finite", INFINITY}, {"finite", JSONValue::Array{NAN}}, {"deeply", deep}};
    for (const auto& [reason, value] : rows) {
        item.action->params["x"] = value;
        const auto text = encodeDocument({item}, {});
        ASSERT_FALSE(text) << reason;
        EXPECT_NE(text.error().message.find(reason), std::string::npos) << text.error().message;
    }
    item.action->params["x"] = *std::as_const(deep).array()->begin();
    const auto text = encodeDocument({item}, {});
    ASSERT_TRUE(text);
    EXPECT_TRUE(decodeDocument(*text));
}

TEST(ConfigDocument, MakesTheDefaultOfSixItems) {
    const ConfigFileDocument document = makeDefaultDocument();
    std::string outline;
    std::set<Uuid> identifiers;
    for (const ConfigItem& item : document.items) {
        outline += item.name + " " + std::string(itemTypeName(item.type));
        for (const std::string& key : item.keys)
            outline += " " + key;
        outline += item.action ? " " + *item.action->params.at("path").string() + "\n" : "\n";
        identifiers.insert(item.id);
    }
    EXPECT_EQ(outline, "Chrome action ctrl+j w g /Applications/Google Chrome.app\n"
                       "Work group ctrl+j w\n"
                       "Finder action ctrl+j s f /System/Library/CoreServices/Finder.app\n"
                       "Terminal action ctrl+j s t /System/Applications/Utilities/Terminal.app\n"
                       "System group ctrl+j s\n"
                       "Master Key group ctrl+j\n");
    EXPECT_EQ(identifiers.size(), 6u);
    EXPECT_NE(document.items[0].id, makeDefaultDocument().items[0].id);
}

/// Small changes to a good text, from a fixed seed.
std::string mutated(std::string text, unsigned& seed) {
    const auto random = [&](std::size_t bound) { return (seed = seed * 1664525 + 1013904223) / 7 % bound; };
    static const char* const pieces[] = {"null",
                                         "1",
                                         "\"x\"",
                                         "[]",
                                         "{}",
                                         "true",
                                         "\"keys\":[],",
                                         "\"id\":null,",
                                         "\"params\":{\"a\":[1]},",
                                         "\"type\":\"application\",",
                                         "pluginID",
                                         ","};
    for (std::size_t count = 1 + random(3); count > 0; --count) {
        std::size_t begin = random(text.size()), length = random(12);
        if (random(2) == 0) { // a whole value or member, so that much of it stays valid
            begin = text.find_first_of("\"[{:,", begin);
            begin = begin == std::string::npos ? 0 : begin + 1;
            length = random(2) * (text.find_first_of(",}]", begin) - begin);
        }
        text.replace(std::min(begin, text.size()), length, pieces[random(std::size(pieces))]);
    }
    return text;
}

TEST(ConfigDocument, ReadsStraightIntoRecordsOnlyWhatTheRulesReadAlike) {
    const std::string base = *encodeDocument(makeDefaultDocument().items, {{"p", {{"k", 1}}}});
    unsigned seed = 1;
    int straight = 0, loaded = 0;
    for (int round = 0; round < 20'000; ++round) {
        const std::string text = mutated(base, seed);
        const auto fast = ConfigStreamReader::read(text);
        const auto root = readJSON(text);
        auto byRules = root ? ConfigTreeDecoder::decodeObjectForm(*root) : std::unexpected(ConfigFault{});
        if (root && !byRules)
            byRules = ConfigTreeDecoder::decodeArrayForm(*root);
        loaded += byRules.has_value();
        if (!fast)
            continue;
        ++straight;
        ASSERT_TRUE(byRules) << text;
        for (std::size_t i = 0; i < fast->items.size() && text.find("null") != std::string::npos; ++i)
            byRules->items[i].id = fast->items[i].id; // fresh ones differ
        ASSERT_EQ(*fast, *byRules) << text;
    }
    EXPECT_GT(straight, 500);
    EXPECT_GT(loaded, straight);
}

TEST(ConfigDocument, LoadsAHundredThousandItems) {
    std::vector<ConfigItem> items;
    for (int i = 0; i < 100'000; ++i)
        items.push_back(
            {.id = Uuid::random(),
             .name = "Item " + std::to_string(i),
             .keys = {"ctrl+j", "a", "b"},
             .type = ItemType::action,
             .action =
                 ConfigAction{core::application, "open", {{"path", "/Applications/Some Application.app"}}},
             .isEnabled = true,
             .allowsPassthroughPrefix = std::nullopt});
    const auto text = encodeDocument(items, {});
    ASSERT_TRUE(text);
    EXPECT_GT(text->size(), 36'000'000u);
    const auto document = decodeDocument(*text);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->items, items);
}

} // namespace
} // namespace varnel
