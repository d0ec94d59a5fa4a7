#pragma once

#include "activation/RunningWindowActivation.h"
#include "activation/WindowFocusCoordinator.h"
#include "activation/x11/XcbDesktop.h"

#include <chrono>
#include <memory>

namespace varnel {

/// The accessibility calls of the focus sequence in terms of the window manager. An application's element
/// holds its process, a window's its identifier. What X11 does not know ("AXMain"; the focused window of an
/// application in the background) is answered as unsupported.
class XcbWindowAccessibilityController : public WindowAccessibilityControlling, public WindowNumberProviding {
public:
    explicit XcbWindowAccessibilityController(XcbDesktop& desktop)
        : desktop_(desktop) {}

    std::expected<bool, AccessibilityResult> isMinimized(const AccessibilityElement& window) override;
    AccessibilityResult setMinimized(const AccessibilityElement& window, bool minimized) override;
    AccessibilityResult setFocusedWindow(const AccessibilityElement& application,
                                         const AccessibilityElement& window) override;
    AccessibilityResult setMain(const AccessibilityElement& window) override;
    AccessibilityResult setFocused(const AccessibilityElement& window) override;
    AccessibilityResult raise(const AccessibilityElement& window) override;
    std::optional<AccessibilityElement> refresh(const AccessibilityElement& application,
                                                const AccessibilityElement& window) override;
    std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) override;

    /// Activates the window and reports who is in front then.
    ApplicationActivation activate(WindowNumber window);

private:
    AccessibilityResult makeActive(WindowNumber window);

    XcbDesktop& desktop_;
    /// When a request was last left unanswered: the next ones are then sent without waiting for them.
    std::optional<std::chrono::steady_clock::time_point> unansweredAt_;
};

/// Window activation as a whole over one desktop: what the composition builds. One thread at a time.
class XcbWindowActivation {
public:
    /// Both must outlive it.
    XcbWindowActivation(XcbDesktop& desktop, LogSink& log);

    /// Never on the main thread.
    std::expected<void, WindowError> activate(const RunningWindow& window) {
        return activation_.activate(window);
    }

private:
    std::optional<ProcessIdentifier> frontmostProcess();
    /// Waits a moment where nobody is in front: between two windows no one has the keyboard.
    std::optional<ProcessIdentifier> settledFrontmostProcess();
    WindowActivationEnvironment environment();

    XcbDesktop& desktop_;
    XcbWindowAccessibilityController controller_;
    LiveWindowFrontmostChecker checker_;
    WindowFocusCoordinator coordinator_;
    RunningWindowActivation activation_;
};

} // namespace varnel
