#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// A key of a US keyboard as the notation writes it.
struct X11Key {
    std::string name;
    bool isShifted = false; ///< the keysym is what the key gives with Shift
    friend bool operator==(const X11Key&, const X11Key&) = default;
};
/// The key with that keysym name ("bracketleft", "KP_End", "XF86AudioPlay"); nothing for keys that PC
/// keyboards lack.
std::optional<X11Key> keyForKeysym(std::string_view name);
/// The modifier that a key such as "Super_L" is.
std::optional<std::string_view> modifierForKeysym(std::string_view name);

} // namespace varnel
