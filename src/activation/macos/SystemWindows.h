#pragma once

#include "activation/ImpatientAccessibility.h"
#include "activation/RunningWindowActivation.h"
#include "activation/WindowFocusCoordinator.h"
#include "activation/macos/SystemActivation.h"

namespace varnel {

/// The private functions of the window server, as far as this system has them.
PrivateWindowServer systemWindowServer();

/// The window server's number of an element, which only a private function knows.
class PrivateWindowNumbers final : public WindowNumberProviding {
public:
    explicit PrivateWindowNumbers(PrivateWindowServerControlling& server)
        : server_(server) {}
    std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) override {
        return server_.windowNumber(window);
    }

private:
    PrivateWindowServerControlling& server_;
};

/// The windows of running applications over the accessibility service and the window server: listing them and
/// bringing one to the front. One thread at a time; may wait for the window server and for other programs.
class SystemWindows {
public:
    /// The log must outlive it. Windows of `ownProcess` cannot be activated.
    SystemWindows(LogSink& log, ProcessIdentifier ownProcess);

    std::expected<std::vector<RunningWindow>, WindowError> windows() { return listing_.runningWindows(); }
    std::expected<void, WindowError> activate(const RunningWindow& window) {
        return activation_.activate(window);
    }

private:
    PrivateWindowServer privateServer_;
    PrivateWindowNumbers numbers_;
    WindowListTable list_;
    RunningApplicationTable applications_;
    SystemWindowAccessibility systemAccessibility_;
    ImpatientAccessibility accessibility_;
    WindowListListing listing_;
    WindowListOrdering ordering_;
    LiveWindowFrontmostChecker frontmostChecker_;
    WindowFocusCoordinator coordinator_;
    RunningWindowActivation activation_;
};

} // namespace varnel
