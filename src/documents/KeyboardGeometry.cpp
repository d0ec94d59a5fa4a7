#include "documents/KeyboardGeometry.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>

namespace varnel {
namespace {

constexpr float kNumberRow = 1.3F, kUpperRow = 2.3F, kHomeRow = 3.3F, kLowerRow = 4.3F, kBottomRow = 5.3F;
constexpr float kBeside = 15.3F, kKeypad = 18.6F;

// clang-format off
constexpr DrawnKey kKeypadKeys[] = {
    {71, kKeypad, kNumberRow, 1, 1, "Num"}, {75, kKeypad + 1, kNumberRow}, {67, kKeypad + 2, kNumberRow},
    {78, kKeypad + 3, kNumberRow},
    {89, kKeypad, kUpperRow}, {91, kKeypad + 1, kUpperRow}, {92, kKeypad + 2, kUpperRow},
    {69, kKeypad + 3, kUpperRow, 1, 2, ""},
    {86, kKeypad, kHomeRow}, {87, kKeypad + 1, kHomeRow}, {88, kKeypad + 2, kHomeRow},
    {83, kKeypad, kLowerRow}, {84, kKeypad + 1, kLowerRow}, {85, kKeypad + 2, kLowerRow},
    {76, kKeypad + 3, kLowerRow, 1, 2, "Enter"},
    {82, kKeypad, kBottomRow, 2, 1, ""}, {65, kKeypad + 2, kBottomRow},
};
constexpr DrawnKey kOtherKeys[] = {
    {114, kBeside, kNumberRow, 1, 1, "Ins"}, {115, kBeside + 1, kNumberRow},
    {116, kBeside + 2, kNumberRow, 1, 1, "Pg ↑"},
    {117, kBeside, kUpperRow}, {119, kBeside + 1, kUpperRow}, {121, kBeside + 2, kUpperRow, 1, 1, "Pg ↓"},
    {126, kBeside + 1, kLowerRow},
    {123, kBeside, kBottomRow}, {125, kBeside + 1, kBottomRow}, {124, kBeside + 2, kBottomRow},
    {51, 13, kNumberRow, 2, 1, ""}, {48, 0, kUpperRow, 1.5F, 1, ""}, {57, 0, kHomeRow, 1.75F, 1, "Caps"},
    {60, 12.25F, kLowerRow, 2.75F, 1, "Shift"},
};
constexpr DrawnKey kBottomPC[] = {
    {59, 0, kBottomRow, 1.25F, 1, "Ctrl"}, {55, 1.25F, kBottomRow, 1.25F, 1, "Cmd"},
    {58, 2.5F, kBottomRow, 1.25F, 1, "Alt"}, {49, 3.75F, kBottomRow, 6.25F, 1, ""},
    {61, 10, kBottomRow, 1.25F, 1, "Alt"}, {54, 11.25F, kBottomRow, 1.25F, 1, "Cmd"},
    {110, 12.5F, kBottomRow, 1.25F, 1, "Menu"}, {62, 13.75F, kBottomRow, 1.25F, 1, "Ctrl"},
};
constexpr DrawnKey kBottomMac[] = {
    {59, 0, kBottomRow, 1.5F, 1, "Ctrl"}, {58, 1.5F, kBottomRow, 1.25F, 1, "Alt"},
    {55, 2.75F, kBottomRow, 1.5F, 1, "Cmd"}, {49, 4.25F, kBottomRow, 6.5F, 1, ""},
    {54, 10.75F, kBottomRow, 1.5F, 1, "Cmd"}, {61, 12.25F, kBottomRow, 1.25F, 1, "Alt"},
    {62, 13.5F, kBottomRow, 1.5F, 1, "Ctrl"},
};
constexpr DrawnKey kANSI[] = {
    {42, 13.5F, kUpperRow, 1.5F, 1, ""}, {36, 12.75F, kHomeRow, 2.25F, 1, ""},
    {56, 0, kLowerRow, 2.25F, 1, "Shift"},
};
// The upper part of the tall Return begins a quarter further left; it is drawn as one rectangle.
constexpr DrawnKey kISO[] = {
    {42, 12.75F, kHomeRow}, {36, 13.75F, kUpperRow, 1.25F, 2, ""}, {56, 0, kLowerRow, 1.25F, 1, "Shift"},
    {10, 1.25F, kLowerRow, 1, 1, "§"},
};
// clang-format on

void addRow(std::vector<DrawnKey>& keys, float x, float y, std::initializer_list<KeyCode> codes) {
    for (const KeyCode code : codes)
        keys.push_back({code, std::exchange(x, x + 1), y});
}

} // namespace

std::vector<DrawnKey> drawnKeys(KeyboardShape shape, bool withKeypad) {
    std::vector<DrawnKey> keys;
    addRow(keys, 0, 0, {53});
    addRow(keys, 2, 0, {122, 120, 99, 118});
    addRow(keys, 6.5F, 0, {96, 97, 98, 100});
    addRow(keys, 11, 0, {101, 109, 103, 111});
    addRow(keys, kBeside, 0, {105, 107, 113});
    addRow(keys, 0, kNumberRow, {50, 18, 19, 20, 21, 23, 22, 26, 28, 25, 29, 27, 24});
    addRow(keys, 1.5F, kUpperRow, {12, 13, 14, 15, 17, 16, 32, 34, 31, 35, 33, 30});
    addRow(keys, 1.75F, kHomeRow, {0, 1, 2, 3, 5, 4, 38, 40, 37, 41, 39});
    addRow(keys, 2.25F, kLowerRow, {6, 7, 8, 9, 11, 45, 46, 43, 47, 44});
    const auto add = [&](const auto& more) { keys.insert(keys.end(), std::begin(more), std::end(more)); };
    add(kOtherKeys);
    shape == KeyboardShape::mac ? add(kBottomMac) : add(kBottomPC);
    shape == KeyboardShape::iso ? add(kISO) : add(kANSI);
    if (withKeypad)
        add(kKeypadKeys);
    return keys;
}

bool isOnKeypad(KeyCode code) {
    return std::ranges::any_of(kKeypadKeys, [&](const DrawnKey& key) { return key.code == code; });
}

} // namespace varnel
