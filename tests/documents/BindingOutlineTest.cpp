#include "documents/BindingOutline.h"

#include "DocumentTestSupport.h"
#include "documents/ActionPhrase.h"
#include "documents/KeyCaps.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;

/// "trigger|name: steps=name, steps=name".
std::vector<std::string> shown(const BindingOutline& outline) {
    std::vector<std::string> result;
    for (const BindingSection& section : outline.sections) {
        std::string line = std::string(static_cast<std::size_t>(section.depth), ' ') +
                           join(section.trigger, " ") + "|" + section.name + ":";
        for (const BindingRow& row : section.rows)
            line += " " + join(row.steps, "-") + "=" + row.name + (row.isEnabled ? "" : "!");
        result.push_back(std::move(line));
    }
    return result;
}

TEST(BindingOutline, PutsEachBindingUnderItsNearestGroup) {
    const std::vector<ConfigItem> items{shell("Chrome", {"ctrl+j", "w", "g"}),
                                        group("Work", {"ctrl+j", "w"}),
                                        shell("Alone", {"cmd+k"}),
                                        shell("Deep", {"cmd", "g", "g"}),
                                        group(" Apps\n", {"CTRL+J"}),
                                        shell("Copy", {"ctrl+j", "enter"}),
                                        shell("Fork A", {"alt", "x", "a"}),
                                        shell("Fork B", {"alt", "x", "b"})};
    EXPECT_EQ(shown(outlineBindings(items)),
              (std::vector<std::string>{"|: cmd+k=Alone cmd-g-g=Deep", "ctrl+j|Apps: return=Copy",
                                        " ctrl+j w|Work: g=Chrome", "alt x|: a=Fork A b=Fork B"}));
}

TEST(BindingOutline, ShowsWhatRunsWhereItemsShareATrigger) {
    ConfigItem off = shell("Off", {"a"});
    off.isEnabled = false;
    ConfigItem lonely = shell("Lonely", {"b"});
    lonely.isEnabled = false;
    const BindingOutline outline =
        outlineBindings({off, shell("First", {"A"}), shell("Second", {"a"}), group("Hidden", {"a"}), lonely});
    EXPECT_EQ(shown(outline), (std::vector<std::string>{"|: a=First b=Lonely!"}));
    EXPECT_EQ(outline.bindings, 2u);
    EXPECT_EQ(outline.firstSteps, (std::vector<FirstStep>{{"a", "First", false, 1}}));
}

TEST(BindingOutline, CountsWhatBeginsWithEachFirstStep) {
    ConfigItem off = shell("Off", {"ctrl+j", "x"});
    off.isEnabled = false;
    const BindingOutline outline = outlineBindings({group("Apps", {"ctrl+j"}), shell("A", {"ctrl+j", "a"}),
                                                    shell("B", {"ctrl+j", "b"}), off, group("None", {"k"})});
    EXPECT_EQ(outline.firstSteps, (std::vector<FirstStep>{{"ctrl+j", "Apps", true, 2}}));
    EXPECT_EQ(outlineBindings({}).sections.size(), 0u);
}

TEST(ActionPhrase, TellsWhatEachKindOfActionDoes) {
    const struct {
        ConfigAction action;
        std::string phrase;
    } rows[] = {
        {{core::application, "open", {{"path", "/Applications/Google Chrome.app/"}}}, "Open Google Chrome"},
        {{core::application, "open", {{"path", "/usr/share/applications/xterm.desktop"}}}, "Open xterm"},
        {{core::shortcut, "press", {{"shortcut", "shift+cmd+leftbracket"}}}, "Press Cmd+Shift+["},
        {{core::shell, "run", {{"command", "make\n  test\x1b[31m"}}}, "Run: make   test"},
        {{core::shell, "run", {{"command", "top"}, {"openInTerminal", true}}}, "Run in a terminal: top"},
        {{core::aerospace, "run", {}}, "Moves focus to the window on the left."},
        {{core::aerospace, "run", {{"operation", "of-tomorrow"}}}, "of-tomorrow"},
        {{"org.example", "wave", {}}, "org.example wave"},
        {{core::shell, "run", {{"command", 7}}}, "Run:"},
    };
    for (const auto& row : rows) {
        ConfigItem item;
        item.action = row.action;
        EXPECT_EQ(actionPhrase(item), row.phrase);
    }
}

TEST(KeyCaps, ShowStepsAsWhatIsPrintedOnKeys) {
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {"shift+ctrl+leftbracket", {"Ctrl", "Shift", "["}},
        {"cmd", {"Cmd"}},
        {"enter", {"Return"}},
        {"keypadmultiply", {"Num *"}},
        {"keypad7", {"Num 7"}},
        {"keycode999", {"#999"}},
        {"F12", {"F12"}},
        {"no such\nkey", {"no such key"}},
    };
    for (const auto& [step, caps] : rows)
        EXPECT_EQ(KeyCaps::ofStep(step), caps) << step;
    EXPECT_EQ(KeyCaps::triggerText({"ctrl+j", "w"}), "Ctrl+J, W");
}

} // namespace
} // namespace varnel
