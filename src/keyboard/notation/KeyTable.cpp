#include "keyboard/notation/KeyTable.h"

#include <algorithm>
#include <array>

namespace varnel {
namespace {

constexpr NamedKey kKeys[] = {
    // Letters and digits.
    {"a", 0},
    {"s", 1},
    {"d", 2},
    {"f", 3},
    {"h", 4},
    {"g", 5},
    {"z", 6},
    {"x", 7},
    {"c", 8},
    {"v", 9},
    {"b", 11},
    {"q", 12},
    {"w", 13},
    {"e", 14},
    {"r", 15},
    {"y", 16},
    {"t", 17},
    {"1", 18},
    {"2", 19},
    {"3", 20},
    {"4", 21},
    {"6", 22},
    {"5", 23},
    {"9", 25},
    {"7", 26},
    {"8", 28},
    {"0", 29},
    {"o", 31},
    {"u", 32},
    {"i", 34},
    {"p", 35},
    {"l", 37},
    {"j", 38},
    {"k", 40},
    {"n", 45},
    {"m", 46},
    // Punctuation.
    {"equal", 24},
    {"minus", 27},
    {"rightbracket", 30},
    {"leftbracket", 33},
    {"quote", 39},
    {"semicolon", 41},
    {"backslash", 42},
    {"comma", 43},
    {"slash", 44},
    {"period", 47},
    {"grave", 50},
    // Editing and movement. Where two names share a code the first is the one that live keys get.
    {"return", 36},
    {"enter", 36},
    {"tab", 48},
    {"space", 49},
    {"delete", 51},
    {"escape", 53},
    {"help", 114},
    {"home", 115},
    {"pageup", 116},
    {"forwarddelete", 117},
    {"end", 119},
    {"pagedown", 121},
    {"left", 123},
    {"right", 124},
    {"down", 125},
    {"up", 126},
    // The keypad.
    {"keypaddecimal", 65},
    {"keypadmultiply", 67},
    {"keypadplus", 69},
    {"keypadclear", 71},
    {"keypaddivide", 75},
    {"keypadenter", 76},
    {"keypadminus", 78},
    {"keypadequals", 81},
    {"keypad0", 82},
    {"keypad1", 83},
    {"keypad2", 84},
    {"keypad3", 85},
    {"keypad4", 86},
    {"keypad5", 87},
    {"keypad6", 88},
    {"keypad7", 89},
    {"keypad8", 91},
    {"keypad9", 92},
    // Function keys.
    {"f17", 64},
    {"f18", 79},
    {"f19", 80},
    {"f20", 90},
    {"f5", 96},
    {"f6", 97},
    {"f7", 98},
    {"f3", 99},
    {"f8", 100},
    {"f9", 101},
    {"f11", 103},
    {"f13", 105},
    {"f16", 106},
    {"f14", 107},
    {"f10", 109},
    {"f12", 111},
    {"f15", 113},
    {"f4", 118},
    {"f2", 120},
    {"f1", 122},
};
static_assert(std::size(kKeys) == 101);

constexpr auto kByName = [] {
    auto keys = std::to_array(kKeys);
    std::ranges::sort(keys, {}, &NamedKey::name);
    return keys;
}();

constexpr auto kByCode = [] {
    std::array<std::string_view, 128> names;
    for (const NamedKey& key : kKeys)
        if (names[key.code].empty())
            names[key.code] = key.name;
    return names;
}();

} // namespace

std::span<const NamedKey> keyTable() {
    return kByName;
}

std::optional<KeyCode> keyCodeNamed(std::string_view name) {
    auto it = std::ranges::lower_bound(kByName, name, {}, &NamedKey::name);
    if (it == kByName.end() || it->name != name)
        return std::nullopt;
    return it->code;
}

std::string_view nameOfKeyCode(KeyCode code) {
    return code < kByCode.size() ? kByCode[code] : std::string_view();
}

} // namespace varnel
