#pragma once

#include <functional>

namespace varnel {

/// Calls `appeared` whenever a host for icons comes to the session's bus after now; on the main thread. Hosts
/// of the older kind, which X11 itself makes known, are found by the icon itself.
void watchForPanel(std::function<void()> appeared);

} // namespace varnel
