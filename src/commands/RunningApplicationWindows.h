#pragma once

#include "activation/AccessibilityElement.h"

#include <string>
#include <vector>

namespace varnel {

/// A window by which a running application can be known and brought forward.
struct ApplicationWindow {
    WindowNumber id = 0;
    ProcessIdentifier process = 0; ///< 0 when unknown
    std::string instanceName;      ///< the two parts of WM_CLASS on X11
    std::string className;
};

/// The windows of running applications, for the launcher. Any thread.
class RunningApplicationWindows {
public:
    virtual ~RunningApplicationWindows() = default;
    /// Ordinary windows, front to back. Must not wait for the window server when nothing has changed: it is
    /// asked at every launch.
    virtual std::vector<ApplicationWindow> windows() = 0;
    /// Brings the window to the front and gives it the keyboard; does not wait until that is done. False when
    /// it is gone or the server is.
    virtual bool activate(WindowNumber window) = 0;
};

} // namespace varnel
