#include "documents/CheatSheet.h"

#include "DocumentTestSupport.h"
#include "documents/Markup.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;

std::size_t count(std::string_view text, std::string_view part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

TEST(Markup, MakesAnyTextSafe) {
    const struct {
        std::string text, xml, markdown;
    } rows[] = {
        {"<b>&\"'", "&lt;b&gt;&amp;&quot;&#39;", "&lt;b&gt;&amp;\"'"},
        {"a|b `c` *d* _e_ [f](g) $h\\", "a|b `c` *d* _e_ [f](g) $h\\",
         "a\\|b \\`c\\` \\*d\\* \\_e\\_ \\[f\\](g) \\$h\\\\"},
        {"🎉\xFF\x01", "🎉\uFFFD\uFFFD", "🎉\uFFFD\uFFFD"},
        {"two\nlines", "two\nlines", "two lines"},
        {"\xEF\xBF\xBF", "\uFFFD", "\uFFFD"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Markup::xml(row.text), row.xml);
        EXPECT_EQ(Markup::markdown(row.text), row.markdown);
    }
}

TEST(Markup, KeepsRightToLeftTextToItself) {
    EXPECT_EQ(Markup::isolated("Mail"), "Mail");
    EXPECT_EQ(Markup::isolated("דואר"), "\u2068דואר\u2069");
    EXPECT_EQ(Markup::isolated("a\u202Eb\u2069"), "ab") << "controls could turn the rest of the line around";
}

TEST(Markup, ShortensToColumns) {
    EXPECT_EQ(Markup::shortened("Terminal", 8), "Terminal");
    EXPECT_EQ(Markup::shortened("Terminals", 8), "Termina…");
    EXPECT_EQ(Markup::shortened("メールを開く", 7), "メール…");
    EXPECT_EQ(Markup::shortened("🎉🎉", 3), "🎉…");
    EXPECT_EQ(Markup::shortened("ab", 0), "…");
}

TEST(CheatSheet, WritesAGroupAsATableUnderItsKeys) {
    ConfigItem off = shell("Old | thing", {"ctrl+j", "x"});
    off.isEnabled = false;
    ConfigItem passing = group("Apps", {"ctrl+j"});
    passing.allowsPassthroughPrefix = true;
    EXPECT_EQ(CheatSheet::markdown(outlineBindings({passing, shell("", {"ctrl+j", "a"}, "echo"), off})),
              R"(# Key bindings

## <kbd>Ctrl</kbd>+<kbd>J</kbd> Apps

The first key also acts in the application in front.

| Keys | Name | What it does |
| --- | --- | --- |
| <kbd>A</kbd> | Run: echo |  |
| <kbd>X</kbd> | ~~Old \| thing~~ (off) | Run: true |
)");
    EXPECT_TRUE(contains(CheatSheet::markdown({}), "There are no bindings."));
}

TEST(CheatSheet, LetsNoNameBreakOutOfThePage) {
    const std::string evil = "</td><script>alert(1)</script>";
    const std::string page =
        CheatSheet::html(outlineBindings({group(evil, {"ctrl+j"}), shell(evil, {"ctrl+j", evil}, evil),
                                          shell(evil, {"k"}, evil)}),
                         KeyboardShape::iso);
    EXPECT_EQ(count(page, "<script"), 0u);
    EXPECT_EQ(count(page, "</td>"), 2u);
}

TEST(CheatSheet, KeepsHeadingsInOrderHoweverDeepTheGroups) {
    std::vector<ConfigItem> items;
    std::vector<std::string> keys;
    for (int depth = 0; depth < 9; ++depth) {
        keys.emplace_back("k");
        items.push_back(group("Level " + std::to_string(depth), keys));
        std::vector<std::string> beneath = keys;
        beneath.emplace_back("a");
        items.push_back(shell("Action " + std::to_string(depth), beneath));
    }
    const std::string page = CheatSheet::html(outlineBindings(items), KeyboardShape::ansi);
    EXPECT_EQ(count(page, "<h2 "), 1u);
    EXPECT_EQ(count(page, "<h6 "), 5u);
    EXPECT_FALSE(contains(page, "<h7"));
    EXPECT_TRUE(contains(page, "Level 7 › </span>Level 8"));
}

TEST(KeyboardPicture, MarksTheKeysThatBeginBindings) {
    const struct {
        std::vector<ConfigItem> items;
        std::size_t keys; ///< how many are marked
        std::vector<std::string> texts;
    } rows[] = {
        {{shell("A", {"ctrl+j", "a"})}, 1, {">Ctrl</text>", "in-opens", "1 binding<"}},
        {{shell("Mail", {"m"})}, 1, {">alone</text>", "in-runs", ">Mail</text>"}},
        {{shell("A", {"cmd", "a"})}, 2, {">tap</text>"}},
        {{shell("A", {"a"}), shell("B", {"cmd+a"}), shell("C", {"ctrl+a"})}, 1, {"and 2 more"}},
        {{shell("A", {"cmd+ctrl+alt+shift+a"})}, 1, {">Cm+Ct+Al+Sh</text>"}},
        {{shell("A", {"keypad5"})}, 1, {">5</text>"}},
        {{shell("A", {"keycode420"})}, 0, {">⏯</tspan>"}},
        {{shell("A", {"no key"})}, 0, {"no key"}},
        {{}, 0, {"No key begins a binding."}},
    };
    for (const auto& row : rows) {
        const std::string picture = keyboardPicture(outlineBindings(row.items), KeyboardShape::ansi, true);
        EXPECT_EQ(count(picture, "\"key on\""), row.keys) << picture;
        for (const std::string& text : row.texts)
            EXPECT_TRUE(contains(picture, text)) << text;
    }
}

TEST(KeyboardPicture, HasTheKeysOfEachShape) {
    const BindingOutline section = outlineBindings({shell("A", {"keycode10"})});
    EXPECT_EQ(count(keyboardPicture(section, KeyboardShape::iso, false), "\"key on\""), 1u);
    EXPECT_EQ(count(keyboardPicture(section, KeyboardShape::ansi, false), "\"key on\""), 0u);
    EXPECT_FALSE(contains(keyboardPicture(section, KeyboardShape::mac, false), ">Menu<"));
}

} // namespace
} // namespace varnel
