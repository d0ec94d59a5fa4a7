#pragma once

#include "config/PasteboardClipboard.h"

namespace varnel {

/// The general pasteboard.
PasteboardTable systemPasteboard();

} // namespace varnel
