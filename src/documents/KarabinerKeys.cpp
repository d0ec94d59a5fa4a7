#include "documents/KarabinerKeys.h"

#include "keyboard/notation/KeyTable.h"

#include <algorithm>
#include <utility>

namespace varnel {
namespace {

using Pair = std::pair<std::string_view, std::string_view>;

constexpr Pair kNames[] = {
    {"return_or_enter", "return"},
    {"escape", "escape"},
    {"delete_or_backspace", "delete"},
    {"delete_forward", "forwarddelete"},
    {"tab", "tab"},
    {"spacebar", "space"},
    {"hyphen", "minus"},
    {"equal_sign", "equal"},
    {"open_bracket", "leftbracket"},
    {"close_bracket", "rightbracket"},
    {"backslash", "backslash"},
    {"non_us_pound", "backslash"},
    {"semicolon", "semicolon"},
    {"quote", "quote"},
    {"grave_accent_and_tilde", "grave"},
    {"comma", "comma"},
    {"period", "period"},
    {"slash", "slash"},
    {"non_us_backslash", "keycode10"},
    {"up_arrow", "up"},
    {"down_arrow", "down"},
    {"left_arrow", "left"},
    {"right_arrow", "right"},
    {"page_up", "pageup"},
    {"page_down", "pagedown"},
    {"home", "home"},
    {"end", "end"},
    {"insert", "help"},
    {"help", "help"},
    {"application", "keycode110"},
    {"print_screen", "f13"},
    {"scroll_lock", "f14"},
    {"pause", "f15"},
    {"keypad_num_lock", "keypadclear"},
    {"keypad_slash", "keypaddivide"},
    {"keypad_asterisk", "keypadmultiply"},
    {"keypad_hyphen", "keypadminus"},
    {"keypad_plus", "keypadplus"},
    {"keypad_enter", "keypadenter"},
    {"keypad_period", "keypaddecimal"},
    {"keypad_equal_sign", "keypadequals"},
    {"volume_increment", "keycode72"},
    {"volume_up", "keycode72"},
    {"volume_decrement", "keycode73"},
    {"volume_down", "keycode73"},
    {"mute", "keycode74"},
    {"japanese_eisuu", "keycode102"},
    {"japanese_kana", "keycode104"},
};

constexpr std::string_view kKeypadDigit = "keypad_";

} // namespace

std::optional<std::string> keyForKarabinerCode(std::string_view code) {
    if (const auto found = std::ranges::find(kNames, code, &Pair::first); found != std::end(kNames))
        return std::string(found->second);
    const bool isDigit = !code.empty() && code.back() >= '0' && code.back() <= '9';
    if (code.starts_with(kKeypadDigit) && code.size() == kKeypadDigit.size() + 1 && isDigit)
        return "keypad" + std::string(1, code.back());
    const bool isLetterOrDigit = code.size() == 1 && keyCodeNamed(code);
    const bool isFunctionKey = code.size() > 1 && code[0] == 'f' && isDigit && keyCodeNamed(code);
    return isLetterOrDigit || isFunctionKey ? std::optional(std::string(code)) : std::nullopt;
}

std::optional<KarabinerModifier> modifierForKarabinerName(std::string_view name) {
    constexpr std::pair<std::string_view, Modifier> names[] = {
        {"command", Modifier::cmd}, {"gui", Modifier::cmd}, {"control", Modifier::ctrl},
        {"option", Modifier::alt},  {"alt", Modifier::alt}, {"shift", Modifier::shift}};
    KarabinerModifier found{};
    for (const std::string_view side : {"left_", "right_"})
        if (name.starts_with(side)) {
            name.remove_prefix(side.size());
            found.isOneSided = true;
        }
    for (const auto& [known, modifier] : names)
        if (known == name) {
            found.modifier = modifier;
            return found;
        }
    return std::nullopt;
}

} // namespace varnel
