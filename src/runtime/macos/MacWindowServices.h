#pragma once

#include "activation/RunningWindowActivation.h"
#include "activation/WindowFocusCoordinator.h"
#include "activation/macos/SystemActivation.h"
#include "runtime/WindowServices.h"

namespace varnel {

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

/// Windows over the accessibility service and the window server. The log must outlive it.
class MacWindowServices final : public WindowServices {
public:
    explicit MacWindowServices(LogSink& log);
    std::expected<std::vector<RunningWindow>, WindowError> windows() override {
        return listing_.runningWindows();
    }
    std::expected<void, WindowError> activate(const RunningWindow& window) override {
        return activation_.activate(window);
    }
    std::optional<WindowNumber> frontWindowOf(const std::string& applicationPath) override;

private:
    PrivateWindowServer privateServer_;
    PrivateWindowNumbers numbers_;
    SystemRunningWindows listing_;
    RunningApplicationTable applications_;
    SystemWindowAccessibility accessibility_;
    SystemWindowOrdering ordering_;
    LiveWindowFrontmostChecker frontmostChecker_;
    WindowFocusCoordinator coordinator_;
    RunningWindowActivation activation_;
};

} // namespace varnel
