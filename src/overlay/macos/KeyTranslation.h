#pragma once

#include "keyboard/notation/KeyToken.h"

#include <string>

namespace varnel {

/// What a key types without modifiers in the keyboard layout in use; dead keys give their accent. Empty where
/// the layout has nothing. Main thread.
std::string translateKey(KeyCode code);

} // namespace varnel
