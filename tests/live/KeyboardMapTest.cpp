#include "keyboard/x11/KeyboardMap.h"
#include "keyboard/notation/KeyPositions.h"
#include "keyboard/notation/KeyTokenCodec.h"
#include "keyboard/notation/PostedKeyLedger.h"
#include "keyboard/x11/ServerClock.h"

#include <gtest/gtest.h>

#include <set>

namespace varnel {
namespace {

/// A keyboard as servers describe the usual one: Shift 50, Lock 66, Control 37, Alt 64, NumLock 77, Super
/// 133.
KeyboardMap::Tables usualTables() {
    KeyboardMap::Tables tables{.minimumKey = 8,
                               .keysPerModifier = 1,
                               .modifierKeys = {50, 66, 37, 64, 77, 0, 133, 92},
                               .keysymsPerKey = 1,
                               .keysyms = std::vector<std::uint32_t>(248)};
    tables.keysyms[64 - 8] = 0xFFE9;
    tables.keysyms[77 - 8] = 0xFF7F;
    tables.keysyms[133 - 8] = 0xFFEB;
    return tables;
}

TEST(KeyPositions, MapEveryNamedKeyThereAndBack) {
    for (unsigned key = 8; key < 256; ++key) {
        const auto x = static_cast<std::uint8_t>(key);
        const KeyCode code = KeyPositions::keyCodeForX11(x);
        const auto back = KeyPositions::x11ForKeyCode(code);
        ASSERT_TRUE(back.has_value()) << key;
        EXPECT_EQ(KeyPositions::keyCodeForX11(*back), code) << key;
    }
    struct Row {
        const char* token;
        int key;
    };
    for (const Row& row :
         {Row{"a", 38}, Row{"return", 36}, Row{"escape", 9}, Row{"f13", 191}, Row{"help", 118},
          Row{"up", 111}, Row{"keypadclear", 77}, Row{"keycode498", 250}}) {
        const auto parsed = KeyTokenCodec::parse(row.token);
        ASSERT_TRUE(parsed) << row.token;
        EXPECT_EQ(KeyPositions::x11ForKeyCode(parsed->keyCode), row.key) << row.token;
    }
    EXPECT_EQ(KeyPositions::x11ForKeyCode(200), std::nullopt);
    EXPECT_EQ(KeyPositions::x11ForKeyCode(256 + 30), std::nullopt) << "a key has one number only";
}

TEST(KeyboardMap, PlansWhatAKeyboardCanProduce) {
    const KeyboardMap map(usualTables());
    struct Row {
        const char* token;
        std::vector<GrabCombination> combinations;
    };
    const Row rows[] = {
        {"ctrl+j", {{44, 4}}},      {"cmd+ctrl+alt+shift+j", {{44, 1 | 4 | 8 | 64}}},
        {"cmd", {{133, 0}}},        {"f13", {{107, 0}, {191, 0}}}, // Print sits where F13 would
        {"cmd+shift", {}},          {"keycode55", {}}, // a modifier's own key never comes as a key
        {"keypadclear", {{77, 0}}}, {"no such key", {}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(map.plan({row.token}).combinations, row.combinations) << row.token;
    EXPECT_TRUE(map.plan({"cmd"}).tapKeys[133]);
    EXPECT_EQ(map.withLocks(4), (std::vector<std::uint32_t>{4, 6, 22, 20}));
    EXPECT_EQ(map.spelling({44, 4}), "ctrl+j");
}

TEST(KeyboardMap, KnowsModifiersByWhatTheyDo) {
    KeyboardMap::Tables swapped = usualTables();
    std::swap(swapped.modifierKeys[1], swapped.modifierKeys[2]); // CapsLock and Control
    const KeyboardMap map(swapped);
    EXPECT_EQ(map.keyCode(66), 59);
    EXPECT_EQ(map.keyCode(37), 57);
    EXPECT_EQ(map.flagOf(66), kControlFlag);
    EXPECT_TRUE(map.isModifier(37));
    EXPECT_FALSE(map.isModifier(77)) << "NumLock can be bound";
    EXPECT_EQ(map.withoutLocks(2 | 16 | 4), 4);
}

TEST(ServerClock, KeepsTheDistancesOfEventsHoweverLateTheyAreRead) {
    ServerClock clock;
    const auto at = [](int ms) { return TimePoint(std::chrono::milliseconds(ms)); };
    const TimePoint first = clock.translate(0xFFFFFFF0u, at(1000));
    EXPECT_EQ(clock.translate(0x000000A0u, at(1300)) - first, 176ms) << "the counter wraps";
    EXPECT_EQ(clock.translate(0x000000F0u, at(1256)), at(1256)) << "never in the future";
    const TimePoint late = clock.translate(0x00000010u, at(1300));
    EXPECT_EQ(late, at(1256)) << "never backwards";
}

TEST(PostedKeyLedger, KnowsItsOwnKeysOnceAndInOrder) {
    PostedKeyLedger ledger;
    for (const bool isPress : {true, false})
        for (const std::uint8_t key : {37, 54})
            ledger.push({key, isPress});
    EXPECT_FALSE(ledger.take({38, true}));
    EXPECT_TRUE(ledger.take({54, true})) << "what came before went by unseen";
    EXPECT_FALSE(ledger.take({37, true}));
    EXPECT_TRUE(ledger.take({37, false}));
    EXPECT_EQ(ledger.size(), 1u);
}

} // namespace
} // namespace varnel
