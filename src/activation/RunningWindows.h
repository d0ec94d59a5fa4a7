#pragma once

#include "activation/AccessibilityElement.h"

#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// A top-level window of a running application.
struct RunningWindow {
    WindowNumber id = 0;
    ProcessIdentifier process = 0; ///< 0 when unknown
    std::string title = {};
    std::string applicationName = {}; ///< for people: "Firefox"
    std::string applicationID = {};   ///< bundle identifier; on X11 the class part of WM_CLASS
    std::string instanceName = {};    ///< on X11 the instance part of WM_CLASS
    std::optional<std::uint32_t> desktop = std::nullopt; ///< counted from 0; none: on all, or unknown
    bool isOnCurrentDesktop = true;
    bool isMinimized = false;
    bool isActive = false; ///< has the keyboard
    int layer = 0;         ///< 0: an ordinary window
    friend bool operator==(const RunningWindow&, const RunningWindow&) = default;
};

/// A sentence for the user.
struct WindowError {
    std::string message;
    friend bool operator==(const WindowError&, const WindowError&) = default;
};

/// The windows of running applications.
class RunningWindowListing {
public:
    virtual ~RunningWindowListing() = default;
    /// Front to back, ordinary ones (layer 0) and others, all desktops, minimised ones included. May ask the
    /// window server: not for the main thread.
    virtual std::expected<std::vector<RunningWindow>, WindowError> runningWindows() = 0;
    [[nodiscard]] virtual std::optional<ProcessIdentifier> frontmostProcess() = 0;
};

} // namespace varnel
