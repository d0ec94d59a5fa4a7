#include "documents/SXHKDImport.h"

#include "DocumentTestSupport.h"
#include "documents/SXHKDReader.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;
using Texts = std::vector<std::string>;

TEST(SXHKDReader, FindsHotkeysCommandsAndTheCommentsAboveThem) {
    const auto blocks =
        readSXHKD("# Old\n\n# Terminal\r\na\r\n\txterm \\\r\n  -e top\n#\n# ---\nb\n\n  # between\n c\n d\n");
    EXPECT_EQ(blocks, (std::vector<SXHKDBlock>{
                          {4, "a", "xterm   -e top", "Terminal"}, {9, "b", "c", ""}, {13, "", "d", ""}}));
}

TEST(SXHKDReader, ExpandsSequencesInStep) {
    const auto expanded = [](std::string hotkey, std::string command) {
        const auto result = expandSXHKD({1, std::move(hotkey), std::move(command), {}});
        if (!result)
            return Texts{"error"};
        Texts texts;
        for (const SXHKDExpansion& each : *result)
            texts.push_back(each.hotkey + "=" + each.command);
        return texts;
    };
    const struct {
        std::string hotkey, command;
        Texts texts;
    } rows[] = {
        {"a", "b", {"a=b"}},
        {"{_,shift + }{h,j}",
         "n -{f,s} {w,e}",
         {"h=n -f w", "j=n -f e", "shift + h=n -s w", "shift + j=n -s e"}},
        {"x{8-9,0}", "{a-c}", {"x8=a", "x9=b", "x0=c"}},
        {"{a,b}", "same", {"a=same", "b=same"}},
        {"{a}", R"(awk '\{print\}' {x\,y})", {"a=awk '{print}' x,y"}},
        {"{9-1}", "z", {"9-1=z"}},
        {"{}", "{}", {"="}},
        {"{a,b}", "{c}", {"error"}},
        {"a", "echo ${HOME}", {"error"}},
        {"{a{b}}", "c", {"error"}},
        {"a}", "c", {"error"}},
        {"{a-z}{a-z}{0-9}", "c", {"error"}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(expanded(row.hotkey, row.command), row.texts) << row.hotkey;
}

TEST(SXHKDImport, ReadsTheKeysOfAHotkey) {
    const std::pair<std::string, std::string> rows[] = {
        {"super + Return", "cmd+return"},
        {"mod4+control + mod1+ SHIFT+a", "cmd+ctrl+alt+shift+a"},
        {"alt Tab", "alt+tab"},
        {"plus", "shift+equal"},
        {"super + o; e ;shift+ 1", "cmd+o e shift+1"},
        {"super + o : e", "cmd+o e"},
        {"@F13", "f13"},
        {"~comma ; d", "comma d"},
        {"super + @Super_L", "cmd"},
        {"XF86AudioRaiseVolume", "keycode72"},
        {"XF86MonBrightnessUp", "keycode481"},
        {"KP_Home", "keypad7"},
        {"less", "keycode10"},
    };
    for (const auto& [hotkey, keys] : rows) {
        const ImportReport report = importSXHKD(hotkey + "\n\tx\n");
        ASSERT_FALSE(report.items.empty()) << hotkey;
        EXPECT_EQ(join(report.items.back().keys, " "), keys) << hotkey;
    }
}

TEST(SXHKDImport, ListsWhatHasNoCounterpart) {
    const std::pair<std::string, std::string> rows[] = {
        {"button3\n\tx", "mouse buttons"},
        {"any + a\n\tx", "no modifier “any”"},
        {"super + a b\n\tx", "“b” is a second one"},
        {"super + Retrun\n\tx", "“Retrun”"},
        {"super\n\tx", "no key"},
        {"a ; Escape\n\tx", "Escape closes"},
        {"a ; ~b\n\tx", "only the first key"},
        {"~a\n\tx", "only the first key"},
        {"!a\n\tx", "“!”"},
        {"alt + @Super_L\n\tx", "tapped alone"},
        {"a", "no command"},
        {"a\n\t;", "no command"},
        {"\tx", "without a hotkey"},
        {"F21\n\tx", "“F21”"},
    };
    for (const auto& [text, reason] : rows) {
        const ImportReport report = importSXHKD(text);
        ASSERT_EQ(report.omitted.size(), 1u) << text;
        EXPECT_TRUE(contains(report.omitted[0].reason, reason)) << report.omitted[0].reason;
        EXPECT_TRUE(report.items.empty() && report.rules == 1) << text;
    }
}

TEST(SXHKDImport, GivesEachTriggerToOneRule) {
    const ImportReport report =
        importSXHKD("@b\n\trelease\n\nb\n\tpress\n\na ; b ; c\n\tlong\n\na ; b\n\tshort\n\n"
                    "~k ; x\n\tx\n\nk ; y\n\ty\n");
    EXPECT_EQ(lines(report.items),
              (Texts{"k = group K (passes)", "b = press", "a b = short", "k x = x", "k y = y"}));
    EXPECT_EQ(lines(report.omitted),
              (Texts{"1: line 4 uses the same keys",
                     "7: it can't be reached: line 10 runs as soon as A, B is typed"}));
    EXPECT_EQ(lines(report.notes),
              (Texts{"16: its first key acts in the application too, as another rule asks for"}));
}

TEST(SXHKDImport, NamesItemsAfterCommentsElseCommands) {
    const ImportReport report = importSXHKD("# Focus\nsuper + {h,l}\n\twm {west,east}\n\nx\n\tls\n");
    ASSERT_EQ(report.items.size(), 3u);
    EXPECT_EQ(report.items[0].name, "Focus: west");
    EXPECT_EQ(report.items[2].name, "ls");
    EXPECT_EQ(importSXHKD("x\n\tother\n").items[0].id, report.items[2].id)
        << "identifiers depend on the keys alone";
}

TEST(SXHKDImport, CountsEveryRuleOfTheExample) {
    const ImportReport report = importSXHKD(importExample("every-construct.sxhkdrc"));
    // Counted by hand.
    EXPECT_EQ(report.rules, 60u);
    EXPECT_EQ(report.converted, 41u);
    EXPECT_EQ(report.omitted.size(), 19u);
    EXPECT_EQ(report.items.size(), 42u) << "one group beside the actions";
}

} // namespace
} // namespace varnel
