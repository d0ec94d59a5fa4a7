#pragma once

#include "activation/AccessibilityElement.h"

#include <expected>
#include <functional>
#include <optional>
#include <vector>

namespace varnel {

/// What asking the system to bring an application forward came to.
struct ApplicationActivation {
    bool activated = false;
    /// The process that is in front afterwards, where the activation itself learned it.
    std::optional<ProcessIdentifier> frontmostProcess = std::nullopt;
};

/// One window to bring to the front.
struct WindowFocusRequest {
    ProcessIdentifier process = 0;
    AccessibilityElement application;
    AccessibilityElement window;
    /// The caller knows already that the application is in front.
    bool applicationIsFrontmost = false;
    /// Brings the application forward; called at most once.
    std::function<ApplicationActivation()> activateApplication;
};

/// How it ended. The optional answers are absent where the question was never asked.
struct WindowFocusOutcome {
    bool succeeded = false;
    bool requiresApplicationSwitch = false;
    bool targetFrontmost = false;
    std::optional<bool> targetWindowFrontmost = std::nullopt;
    friend bool operator==(const WindowFocusOutcome&, const WindowFocusOutcome&) = default;
};

/// Brings a window to the front. May block for as long as the other program lets accessibility calls wait:
/// never on the main thread.
class WindowFocusing {
public:
    virtual ~WindowFocusing() = default;
    virtual WindowFocusOutcome focus(const WindowFocusRequest& request) = 0;
};

/// The accessibility calls that the focus sequence makes. Each is synchronous and bounded.
class WindowAccessibilityControlling {
public:
    virtual ~WindowAccessibilityControlling() = default;
    /// "AXMinimized".
    virtual std::expected<bool, AccessibilityResult> isMinimized(const AccessibilityElement& window) = 0;
    virtual AccessibilityResult setMinimized(const AccessibilityElement& window, bool minimized) = 0;
    /// "AXFocusedWindow" of the application.
    virtual AccessibilityResult setFocusedWindow(const AccessibilityElement& application,
                                                 const AccessibilityElement& window) = 0;
    /// "AXMain" and "AXFocused" of the window, set to true.
    virtual AccessibilityResult setMain(const AccessibilityElement& window) = 0;
    virtual AccessibilityResult setFocused(const AccessibilityElement& window) = 0;
    /// The action "AXRaise".
    virtual AccessibilityResult raise(const AccessibilityElement& window) = 0;
    /// The window's element read anew; none when the application no longer has it.
    virtual std::optional<AccessibilityElement> refresh(const AccessibilityElement& application,
                                                        const AccessibilityElement& window) = 0;
};

/// A window in the on-screen order.
struct OrderedWindow {
    WindowNumber number = 0;
    ProcessIdentifier process = 0;
    /// 0 for ordinary windows; menus, panels, docks and overlays lie on others.
    int layer = 0;
    /// The window whose dialog this one is, which it always covers; 0 for none.
    WindowNumber owner = 0;
    friend bool operator==(const OrderedWindow&, const OrderedWindow&) = default;
};

/// The windows on screen, front to back, on every layer.
class WindowOrderingProviding {
public:
    virtual ~WindowOrderingProviding() = default;
    virtual std::vector<OrderedWindow> windowsFrontToBack() = 0;
};

/// The window server's number of an accessibility element.
class WindowNumberProviding {
public:
    virtual ~WindowNumberProviding() = default;
    virtual std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) = 0;
};

/// Whether a window is the one in front.
class WindowFrontmostChecking {
public:
    virtual ~WindowFrontmostChecking() = default;
    virtual std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) = 0;
    virtual bool isFrontmost(ProcessIdentifier process, const AccessibilityElement& window) = 0;
};

} // namespace varnel
