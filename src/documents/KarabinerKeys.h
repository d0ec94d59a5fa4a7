#pragma once

#include "keyboard/notation/KeyToken.h"

#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// The notation's name of a key that Karabiner calls so; nothing for keys that the notation lacks.
std::optional<std::string> keyForKarabinerCode(std::string_view code);

struct KarabinerModifier {
    Modifier modifier;
    bool isOneSided = false; ///< "left_shift", not "shift"
};
/// Nothing for "fn", "caps_lock", "any" and what is no modifier.
std::optional<KarabinerModifier> modifierForKarabinerName(std::string_view name);

} // namespace varnel
