#pragma once

#include "activation/PrivateWindowServer.h"
#include "activation/RunningWindows.h"
#include "activation/WindowFocusing.h"
#include "base/Log.h"

#include <functional>
#include <optional>

namespace varnel {

/// The accessibility elements of a window and its application.
struct WindowElements {
    AccessibilityElement application;
    AccessibilityElement window;
};

/// What window activation needs of the system beside the focus sequence.
struct WindowActivationEnvironment {
    /// The elements to drive; none when the application does not offer the window (any more).
    std::function<std::optional<WindowElements>(const RunningWindow&)> findElements;
    std::function<ApplicationActivation(const RunningWindow&)> activateApplication;
    std::function<std::optional<ProcessIdentifier>()> frontmostProcess;
};

/// Brings a chosen window of a running application to the front: the private focus first where it is
/// available, then the accessibility sequence. Success is what the final check says. Blocks for a bounded
/// time: never on the main thread.
class RunningWindowActivation {
public:
    /// All must outlive it; `privateServer` may be null.
    RunningWindowActivation(WindowFocusing& focusing, PrivateWindowServerControlling* privateServer,
                            WindowActivationEnvironment environment, ProcessIdentifier ownProcess,
                            LogSink& log)
        : focusing_(focusing)
        , privateServer_(privateServer)
        , environment_(std::move(environment))
        , ownProcess_(ownProcess)
        , log_(log) {}

    /// The error says why the window is not in front.
    std::expected<void, WindowError> activate(const RunningWindow& window);

private:
    std::expected<void, WindowError> attempt(const RunningWindow& window);
    bool focusPrivately(const RunningWindow& window);
    void trace(const std::string& line);

    WindowFocusing& focusing_;
    PrivateWindowServerControlling* privateServer_;
    WindowActivationEnvironment environment_;
    ProcessIdentifier ownProcess_;
    LogSink& log_;
};

} // namespace varnel
