#pragma once

#include "keyboard/CoreGraphicsKeyboardEventTapSession.h"

namespace varnel {

/// The system's taps. Main thread only.
EventTapFunctions systemEventTaps();
/// The application event made of a CoreGraphics event. Main thread only: the conversion asks the text input
/// system.
std::optional<KeyboardEvent> applicationEventOf(SystemObject event);

} // namespace varnel
