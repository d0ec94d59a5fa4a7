#include "config/PasteboardClipboard.h"

#include "tests/config/ConfigTreeTestSupport.h"

#include <gtest/gtest.h>

#include <map>

namespace varnel {
namespace {

using namespace test;

/// A pasteboard in memory, with a record of what was asked of it.
struct FakePasteboard {
    std::map<std::string, std::string> contents;
    std::string asked;
    std::int64_t changes = 1;
    bool refuses = false;

    PasteboardTable table() {
        return {.clearContents =
                    [this] {
                        asked += "clear ";
                        if (changes >= 1)
                            contents.clear();
                        return changes;
                    },
                .setData =
                    [this](const std::string& type, std::string_view data) {
                        asked += type + " ";
                        contents[type] = data;
                        return !refuses;
                    },
                .setString =
                    [this](std::string_view text) {
                        asked += "text";
                        contents["text"] = text;
                        return true;
                    },
                .dataForType = [this](const std::string& type) { return find(type); },
                .string = [this] { return find("text"); }};
    }
    std::optional<std::string> find(const std::string& type) {
        const auto known = contents.find(type);
        return known == contents.end() ? std::nullopt : std::optional(known->second);
    }
};

ConfigItem shell() {
    ConfigItem made = item("Café / “x”", "ctrl+j t");
    made.action = ConfigAction{core::shell, "run", {{"command", "echo \"hi\"\n"}, {"openInTerminal", false}}};
    return made;
}

TEST(ConfigClipboard, WritesOurTypeAndTheSamePlainText) {
    FakePasteboard board;
    PasteboardClipboard clipboard(board.table());
    ASSERT_TRUE(clipboard.write(shell()));
    EXPECT_EQ(board.asked, "clear com.brackwell.varnel.config-item text");
    EXPECT_EQ(board.contents["text"], board.contents["com.brackwell.varnel.config-item"]);
    EXPECT_EQ(itemOnClipboard(clipboard)->action, shell().action);
}

TEST(ConfigClipboard, ReportsAPasteboardThatCannotBeTaken) {
    for (const bool cleared : {false, true}) {
        FakePasteboard board;
        board.contents = {{"text", "before"}};
        board.changes = cleared;
        board.refuses = true;
        PasteboardClipboard clipboard(board.table());
        EXPECT_FALSE(clipboard.write(shell()));
        EXPECT_EQ(board.contents.contains("text"), !cleared);
    }
}

TEST(ConfigClipboard, PastesTheFirstThatIsOneItem) {
    const std::string ours = "com.brackwell.varnel.config-item", earlier = "com.mirren.config-item";
    const std::string item = R"({"name":"N","keys":["a"],"type":"group"})";
    const std::string old =
        R"({"name":"Old","keys":["a"],"type":"action","action":{"type":"shellCommand","command":"ls"}})";
    const struct {
        std::map<std::string, std::string> contents;
        const char* outcome;
    } rows[] = {
        {{{ours, item}, {earlier, old}}, "N"},
        {{{earlier, old}}, "Old"},
        {{{ours, "{"}, {"text", item}}, "N"},
        {{{"text", " \n" + item + "\n"}}, "N"},
        {{{"text", "hello"}}, "The clipboard holds no group or shortcut."},
        {{{"text", "[" + item + "]"}}, "The clipboard holds no group or shortcut."},
        {{{"text", item + std::string(kMaximumClipboardItemBytes, ' ')}},
         "The clipboard holds no group or shortcut."},
        {{}, "The clipboard holds no group or shortcut."},
        {{{"text", R"({"name":1})"}},
         "The group or shortcut on the clipboard cannot be read: name: expected a string, found a number "
         "(line 1, "
         "column 9)"},
    };
    for (const auto& row : rows) {
        FakePasteboard board;
        board.contents = row.contents;
        PasteboardClipboard clipboard(board.table());
        const auto pasted = itemOnClipboard(clipboard);
        EXPECT_EQ(pasted ? pasted->name : describe(pasted.error()), row.outcome);
        if (pasted && pasted->name == "Old") {
            EXPECT_EQ(pasted->action->pluginID, core::shell);
        }
    }
}

} // namespace
} // namespace varnel
