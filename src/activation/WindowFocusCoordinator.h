#pragma once

#include "activation/WindowFocusing.h"
#include "base/Log.h"

namespace varnel {

/// Compares the element's window number with the first ordinary window (layer 0, not our own) of the
/// on-screen order. Both providers must outlive it.
class LiveWindowFrontmostChecker : public WindowFrontmostChecking {
public:
    /// `ownProcess`: windows of this process never count as being in front.
    LiveWindowFrontmostChecker(WindowOrderingProviding& windowOrderingProvider,
                               WindowNumberProviding& windowNumberProvider, ProcessIdentifier ownProcess)
        : windowOrderingProvider_(windowOrderingProvider)
        , windowNumberProvider_(windowNumberProvider)
        , ownProcess_(ownProcess) {}

    std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) override;
    bool isFrontmost(ProcessIdentifier process, const AccessibilityElement& window) override;

private:
    WindowOrderingProviding& windowOrderingProvider_;
    WindowNumberProviding& windowNumberProvider_;
    ProcessIdentifier ownProcess_;
};

/// The workspace's answer to which application is in front.
using FrontmostProcessSource = std::function<std::optional<ProcessIdentifier>()>;

/// Brings one window to the front with accessibility calls: out of minimisation, raised, its application
/// activated where it is not in front, focused; then looks whether it worked and tries once more. Errors of
/// single steps are traced and do not stop the sequence. Success is what the final check says: the window is
/// in front, or, where its number is unknown, its application is and the window accepted being raised or
/// focused. Never waits between steps; every step leaves one debug line.
class WindowFocusCoordinator : public WindowFocusing {
public:
    WindowFocusCoordinator(WindowAccessibilityControlling& accessibilityController,
                           WindowFrontmostChecking& frontmostChecker, FrontmostProcessSource frontmostProcess,
                           LogSink& log)
        : accessibilityController_(accessibilityController)
        , frontmostChecker_(frontmostChecker)
        , frontmostProcess_(std::move(frontmostProcess))
        , log_(log) {}

    WindowFocusOutcome focus(const WindowFocusRequest& request) override;

private:
    class Run;

    WindowAccessibilityControlling& accessibilityController_;
    WindowFrontmostChecking& frontmostChecker_;
    FrontmostProcessSource frontmostProcess_;
    LogSink& log_;
};

} // namespace varnel
