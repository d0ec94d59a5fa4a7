#include "keyboard/notation/KeyTokenCodec.h"

#include "keyboard/notation/KeyTable.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

constexpr KeyFlags kAll = kModifierFlags;

TEST(KeyTokenCodec, ParsesChords) {
    const struct {
        const char* token;
        const char* key;
        KeyCode code;
        KeyFlags flags;
        const char* normalized;
        const char* live;
    } rows[] = {
        {" \tCMD+Shift+K\n", "k", 40, kCommandFlag | kShiftFlag, "cmd+shift+k", "cmd+shift+k"},
        {"shift+alt+ctrl+cmd+space", "space", 49, kAll, "cmd+ctrl+alt+shift+space",
         "cmd+ctrl+alt+shift+space"},
        {"k+cmd", "k", 40, kCommandFlag, "cmd+k", "cmd+k"},
        {"cmd+cmd+k", "k", 40, kCommandFlag, "cmd+k", "cmd+k"},
        {"enter", "enter", 36, 0, "enter", "return"},
        {"RETURN", "return", 36, 0, "return", "return"},
        {"keypadenter", "keypadenter", 76, 0, "keypadenter", "keypadenter"},
        {"keycode53", "keycode53", 53, 0, "keycode53", "escape"},
        {"alt+keycode007", "keycode007", 7, kAlternateFlag, "alt+keycode007", "alt+x"},
        {"keycode10", "keycode10", 10, 0, "keycode10", "keycode10"},
        {"keycode65535", "keycode65535", 65535, 0, "keycode65535", "keycode65535"},
        {"\xC2\xA0"
         "ctrl+j\xE2\x80\xA8",
         "j", 38, kControlFlag, "ctrl+j", "ctrl+j"},
    };
    for (const auto& row : rows) {
        const auto parsed = KeyTokenCodec::parse(row.token);
        ASSERT_TRUE(parsed) << row.token;
        EXPECT_EQ(*parsed, (ParsedKeyToken{row.key, row.code, row.flags, row.normalized})) << row.token;
        EXPECT_EQ(KeyTokenCodec::liveSpelling(row.token), row.live);
        EXPECT_EQ(KeyTokenCodec::explain(row.token), "");
    }
}

TEST(KeyTokenCodec, RefusesWhatIsNoChordAndSaysWhy) {
    const struct {
        const char* token;
        const char* reason; ///< part of the explanation
    } rows[] = {
        {"", "empty"},
        {"   ", "empty"},
        {"+", "missing"},
        {"cmd+", "missing"},
        {"+k", "missing"},
        {"foo", "unknown key"},
        {"esc", "unknown key"},
        {"hyper+k", "unknown key"},
        {"j+k", "more than one"},
        {"cmd + k", "blanks"},
        {"keycode", "65535"},
        {"keycodex", "65535"},
        {"keycode70000", "65535"},
        {"keycode-1", "65535"},
        {"keycode99999999999999999999", "65535"},
        {"command+k", "unknown key"},
        {"retrun", "did you mean 'return'"},
    };
    for (const auto& row : rows) {
        EXPECT_FALSE(KeyTokenCodec::parse(row.token)) << row.token;
        EXPECT_FALSE(KeyTokenCodec::normalize(row.token)) << row.token;
        EXPECT_NE(KeyTokenCodec::explain(row.token).find(row.reason), std::string::npos)
            << row.token << ": " << KeyTokenCodec::explain(row.token);
    }
    EXPECT_EQ(KeyTokenCodec::liveSpelling("  Hyper+K "), "hyper+k");
}

TEST(KeyTokenCodec, TellsModifierOnlyTokens) {
    for (const char* token : {"cmd", " Shift ", "cmd+shift", "alt+alt"})
        EXPECT_TRUE(KeyTokenCodec::isModifierOnly(token)) << token;
    for (const char* token : {"", "cmd+k", "cmd+", "+", "k", "fn", "cmd + shift"})
        EXPECT_FALSE(KeyTokenCodec::isModifierOnly(token)) << token;
    EXPECT_TRUE(KeyTokenCodec::hasModifier(" CTRL", kControlFlag));
    EXPECT_FALSE(KeyTokenCodec::hasModifier("ctrl", kAll & ~kControlFlag));
    EXPECT_FALSE(KeyTokenCodec::hasModifier("caps", ~KeyFlags{0}));
}

TEST(KeyTokenCodec, NamesEveryKeyOfTheTableBothWays) {
    EXPECT_EQ(keyTable().size(), 101u);
    for (const NamedKey& key : keyTable()) {
        const auto parsed = KeyTokenCodec::parse(key.name);
        ASSERT_TRUE(parsed) << key.name;
        EXPECT_EQ(parsed->keyCode, key.code);
        EXPECT_EQ(KeyTokenCodec::keyName(key.code), key.name == "enter" ? "return" : key.name);
    }
    EXPECT_EQ(KeyTokenCodec::keyName(10), "keycode10");
    // Codes that are easily swapped.
    EXPECT_EQ(keyCodeNamed("5"), 23);
    EXPECT_EQ(keyCodeNamed("6"), 22);
    EXPECT_EQ(keyCodeNamed("f16"), 106);
    EXPECT_EQ(keyCodeNamed("f4"), 118);
    EXPECT_EQ(keyCodeNamed("forwarddelete"), 117);
}

} // namespace
} // namespace varnel
