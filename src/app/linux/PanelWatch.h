#pragma once

#include <functional>

namespace varnel {

/// Calls `ready` once, on the main thread, when the icon can be made: at once where the desktop shows icons
/// or the session has no bus. Else the desktop may still be starting, and which of the two kinds of panels it
/// brings decides how the icon is made for good; so it is waited for, twenty seconds at most. Panels of the
/// kind that X11 itself makes known are found by the icon whenever they come.
void whenPanelIsReady(std::function<void()> ready);

} // namespace varnel
