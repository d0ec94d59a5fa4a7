#pragma once

#include "documents/BindingOutline.h"

#include <string>

namespace varnel {

enum class KeyboardShape {
    ansi,
    iso, ///< a short left Shift with a key beside it, a tall Return
    mac, ///< ANSI with Command beside the space bar
};

/// An SVG picture of the keyboard with the first steps marked and listed. As a file of its own it begins with
/// the XML declaration; inside a page it does not, and what it lists is left to the page.
std::string keyboardPicture(const BindingOutline& outline, KeyboardShape shape, bool isStandalone);

} // namespace varnel
