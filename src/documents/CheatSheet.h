#pragma once

#include "documents/BindingOutline.h"
#include "documents/KeyboardPicture.h"

#include <string>

namespace varnel {

/// A page with all bindings by group. Pure functions; what they return ends with a line break.
namespace CheatSheet {

/// GitHub's flavour, key caps as `<kbd>`.
std::string markdown(const BindingOutline& outline);
/// One file that needs nothing else: the keyboard and a table a group, light or dark as the reader's system,
/// always light on paper (A4 and Letter).
std::string html(const BindingOutline& outline, KeyboardShape shape);

} // namespace CheatSheet
} // namespace varnel
