#pragma once

#include "keyboard/notation/KeyToken.h"
#include "overlay/SuggestionOverlayState.h"

#include <compare>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// How keys are labelled.
struct KeyNaming {
    /// What a position types in the user's layout, where that is a visible character; may be empty.
    std::function<std::optional<std::string>(KeyCode)> layoutLabel;
    bool usesSymbols = false; ///< ⌘ instead of "Super"
};

/// The labels of a token's keys, modifiers first. Letters are upper case, as on a keyboard.
KeyCaps keyCaps(std::string_view token, const KeyNaming& naming);
/// One cap a letter of a choice's label, which is typed letter by letter.
KeyCaps choiceCaps(std::string_view label, const KeyNaming& naming);

/// Where a token stands in the natural order: letters, digits, punctuation, named keys, function keys by
/// their number, the keypad, bare modifiers; a key with modifiers follows the key alone.
struct KeyRank {
    int kind = 0;
    int number = 0;
    std::string label;
    int modifierCount = 0;
    KeyFlags flags = 0;
    friend auto operator<=>(const KeyRank&, const KeyRank&) = default;
};
KeyRank keyRank(std::string_view token, const KeyNaming& naming);

} // namespace varnel
