#pragma once

#include "keyboard/notation/KeyToken.h"

#include <span>

namespace varnel {

struct NamedKey {
    std::string_view name;
    KeyCode code;
};

/// All key names of the notation, sorted by name. Letters and punctuation name positions of the ANSI layout.
std::span<const NamedKey> keyTable();
std::optional<KeyCode> keyCodeNamed(std::string_view name);
/// Empty for a code without a name.
std::string_view nameOfKeyCode(KeyCode code);

} // namespace varnel
