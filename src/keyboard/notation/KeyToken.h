#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// Modifier bits as the event system of macOS numbers them; X11 events are translated to the same bits.
using KeyFlags = std::uint64_t;
inline constexpr KeyFlags kCommandFlag = 0x100000;
inline constexpr KeyFlags kControlFlag = 0x40000;
inline constexpr KeyFlags kAlternateFlag = 0x80000;
inline constexpr KeyFlags kShiftFlag = 0x20000;
inline constexpr KeyFlags kModifierFlags = kCommandFlag | kControlFlag | kAlternateFlag | kShiftFlag;

/// A macOS virtual key code (ANSI positions); the code that every platform's keys are translated to.
using KeyCode = std::uint16_t;

/// One chord, parsed: a key with zero or more modifiers.
struct ParsedKeyToken {
    std::string key; ///< a name of the key table or `keycode<N>`
    KeyCode keyCode = 0;
    KeyFlags flags = 0;          ///< only the four modifier bits
    std::string normalizedToken; ///< modifiers in the order cmd, ctrl, alt, shift, then the key
    friend bool operator==(const ParsedKeyToken&, const ParsedKeyToken&) = default;
};

/// The four modifiers, in canonical order.
enum class Modifier { cmd, ctrl, alt, shift };
inline constexpr Modifier kModifiers[] = {Modifier::cmd, Modifier::ctrl, Modifier::alt, Modifier::shift};
std::string_view modifierName(Modifier modifier);
KeyFlags modifierFlag(Modifier modifier);
/// The left key of the modifier (55, 59, 58, 56).
KeyCode modifierKeyCode(Modifier modifier);
std::optional<Modifier> modifierNamed(std::string_view name); ///< exact canonical name
std::optional<Modifier> modifierForKeyCode(KeyCode code);     ///< left or right key

} // namespace varnel
