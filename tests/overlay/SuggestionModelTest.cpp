#include "overlay/SuggestionModel.h"

#include "base/MemoryPreferenceStore.h"
#include "base/Text.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

/// A German layout, as far as the tests need it.
std::optional<std::string> germanLabel(KeyCode code) {
    if (code == 16)
        return "z";
    if (code == 6)
        return "y";
    if (code == 41)
        return "ö";
    return std::nullopt;
}

const KeyNaming kWords;
const KeyNaming kGerman{germanLabel, false};
const KeyNaming kSymbols{{}, true};

TEST(KeyCaps, LabelKeysAsTheUsersKeyboardDoes) {
    const struct {
        const char* token;
        const KeyNaming& naming;
        KeyCaps caps;
    } cases[] = {
        {"g", kWords, {"G"}},
        {"cmd", kWords, {"Super"}},
        {"cmd+shift", kWords, {"Super", "Shift"}},
        {"cmd+ctrl+alt+shift+return", kWords, {"Super", "Ctrl", "Alt", "Shift", "Enter"}},
        {"cmd+alt+return", kSymbols, {"⌘", "⌥", "↩"}},
        {"y", kGerman, {"Z"}},
        {"ctrl+z", kGerman, {"Ctrl", "Y"}},
        {"semicolon", kGerman, {"Ö"}},
        {"semicolon", kWords, {";"}},
        {"f12", kWords, {"F12"}},
        {"f", kWords, {"F"}},
        {"left", kSymbols, {"←"}},
        {"keypad7", kWords, {"Num 7"}},
        {"keypadmultiply", kWords, {"Num ×"}},
        {"keypadenter", kWords, {"Num Enter"}},
        {"keycode200", kWords, {"Key 200"}},
        {"no+such", kWords, {"no+such"}},
    };
    for (const auto& row : cases)
        EXPECT_EQ(keyCaps(row.token, row.naming), row.caps) << row.token;
    EXPECT_EQ(choiceCaps("jy", kGerman), (KeyCaps{"J", "Z"}));
}

HintRow row(std::string token, bool isGroup = false, std::size_t fileOrder = 0) {
    HintRow hint;
    hint.token = hint.metadata.name.emplace(std::move(token));
    hint.isGroup = isGroup;
    hint.fileOrder = fileOrder;
    return hint;
}

std::string namesIn(const SuggestionOverlayState& state) {
    std::vector<std::string> names;
    for (const SuggestionRow& suggestion : state.rows)
        names.push_back(suggestion.name);
    return join(names, " ");
}

TEST(SuggestionModel, OrdersActionsBeforeGroupsAndKeysNaturally) {
    HintState hints;
    hints.interaction = Interaction::capture;
    std::size_t place = 100;
    for (const char* token : {"b", "cmd", "f10", "f2", "shift+a", "a", "0", "9", "keypad1", "ctrl+a", "space",
                              "slash", "keycode30", "keycode4"})
        hints.rows.push_back(row(token, false, --place));
    hints.rows.insert(hints.rows.begin(), row("aa", true, 95));
    hints.rows.front().token = "a";
    EXPECT_EQ(namesIn(suggestionState(hints, OverlayOrder::keys, kWords)),
              "a shift+a ctrl+a b 9 0 slash space f2 f10 keypad1 cmd keycode4 keycode30 aa");
    EXPECT_EQ(namesIn(suggestionState(hints, OverlayOrder::file, kWords)),
              "keycode4 keycode30 slash space ctrl+a keypad1 9 0 a aa shift+a f2 f10 cmd b");
}

TEST(SuggestionModel, OrdersByWhatTheKeysBear) {
    HintState hints;
    for (const char* token : {"y", "z", "semicolon", "x"})
        hints.rows.push_back(row(token));
    EXPECT_EQ(namesIn(suggestionState(hints, OverlayOrder::keys, kGerman)), "x z y semicolon");
}

TEST(SuggestionModel, KeepsChoicesInTheirOrderAndRulesOutWhatCannotBeMeant) {
    HintState hints;
    hints.interaction = Interaction::dynamicChoice;
    hints.areChoices = true;
    hints.input = "k";
    hints.rows = {row("kd"), row("a"), row("kf")};
    const SuggestionOverlayState state = suggestionState(hints, OverlayOrder::keys, kWords);
    EXPECT_EQ(namesIn(state), "kd a kf");
    EXPECT_EQ(state.rows[0].caps, (KeyCaps{"K", "D"}));
    EXPECT_FALSE(state.rows[0].isRuledOut);
    EXPECT_TRUE(state.rows[1].isRuledOut);
    EXPECT_EQ(state.input, KeyCaps{"K"});
}

TEST(SuggestionModel, ShowsNamesOnOneLineWhateverTheyContain) {
    HintState hints;
    hints.interaction = Interaction::capture;
    hints.title = "Two\nlines \x1b[31mred";
    hints.rows = {row("a")};
    hints.rows[0].metadata.name = std::string(5000, 'x');
    const SuggestionOverlayState state = suggestionState(hints, OverlayOrder::keys, kWords);
    EXPECT_EQ(state.title.find_first_of("\n\x1b"), std::string::npos);
    EXPECT_LT(state.rows[0].name.size(), 250u);
}

TEST(SuggestionModel, SaysEverythingToThoseWhoHearIt) {
    SuggestionRow group;
    group.caps = {"Ctrl", "W"};
    group.name = "Windows";
    group.isGroup = true;
    group.entryCount = 3;
    EXPECT_EQ(spokenText(group), "Ctrl+W: Windows, group with 3 entries");
    SuggestionRow action;
    action.caps = {"B"};
    action.name = "Browser";
    action.detail = "3 windows";
    action.isRunning = action.isChosen = true;
    action.availability = HintAvailability::untrusted;
    EXPECT_EQ(spokenText(action), "B: Browser, 3 windows, running, chosen, not trusted");
    EXPECT_EQ(spokenText(refusalState({"z", {"cmd", "o"}, 1}, kWords)),
              "Super, O. Z is not bound here. Nothing is bound here.");
}

TEST(OverlayOptions, TakeTheDefaultForWhatIsAbsentOrWrong) {
    MemoryPreferenceStore preferences;
    EXPECT_EQ(overlayOptions(preferences), OverlayOptions());
    const auto set = [&](std::string_view key, JSONValue value) {
        ASSERT_TRUE(preferences.setValue(key, value));
    };
    set(kOverlayDelay.key, JSONValue(99999.0));
    set(kOverlayTextSize.key, JSONValue(1.0));
    set(kOverlayPosition.key, JSONValue("pointer"));
    set(kOverlayTheme.key, JSONValue("purple"));
    set(kOverlayOrder.key, JSONValue(true));
    set(kOverlayMotion.key, JSONValue("less"));
    const OverlayOptions options = overlayOptions(preferences);
    EXPECT_EQ(options.delay, 5s);
    EXPECT_EQ(options.textSize, 7);
    EXPECT_EQ(options.position, OverlayPosition::pointer);
    EXPECT_EQ(options.theme, OverlayTheme::system);
    EXPECT_EQ(options.order, OverlayOrder::keys);
    EXPECT_TRUE(options.wantsLessMotion);
}

} // namespace
} // namespace varnel
