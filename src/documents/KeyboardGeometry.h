#pragma once

#include "documents/KeyboardPicture.h"
#include "keyboard/notation/KeyToken.h"

#include <string_view>
#include <vector>

namespace varnel {

/// One key of a drawn keyboard, in units of an ordinary key's width.
struct DrawnKey {
    KeyCode code = 0;
    float x = 0;
    float y = 0;
    float width = 1;
    float height = 1;
    std::string_view cap = {}; ///< where it differs from the name of the key's code
};

/// The keys of the main block, the function keys and those beside them, with the keypad if asked for.
std::vector<DrawnKey> drawnKeys(KeyboardShape shape, bool withKeypad);
bool isOnKeypad(KeyCode code);

} // namespace varnel
