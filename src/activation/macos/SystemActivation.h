#pragma once

#include "activation/PrivateWindowServer.h"
#include "activation/RunningApplicationTable.h"
#include "activation/RunningWindows.h"
#include "activation/WindowFocusing.h"

namespace varnel {

/// The accessibility service. A handle is the native element, which `keepAlive` owns.
class SystemWindowAccessibility final : public WindowAccessibilityControlling {
public:
    std::expected<bool, AccessibilityResult> isMinimized(const AccessibilityElement& window) override;
    AccessibilityResult setMinimized(const AccessibilityElement& window, bool minimized) override;
    AccessibilityResult setFocusedWindow(const AccessibilityElement& application,
                                         const AccessibilityElement& window) override;
    AccessibilityResult setMain(const AccessibilityElement& window) override;
    AccessibilityResult setFocused(const AccessibilityElement& window) override;
    AccessibilityResult raise(const AccessibilityElement& window) override;
    std::optional<AccessibilityElement> refresh(const AccessibilityElement& application,
                                                const AccessibilityElement& window) override;
};

/// The window server's list of windows.
class SystemWindowOrdering final : public WindowOrderingProviding {
public:
    std::vector<OrderedWindow> windowsFrontToBack() override;
};

/// Windows of running applications from the window server's list. Titles need the permission to record the
/// screen and are empty without it.
class SystemRunningWindows final : public RunningWindowListing {
public:
    /// Where a title is missing, `privateServer` is asked for it; it may be null.
    explicit SystemRunningWindows(PrivateWindowServerControlling* privateServer)
        : privateServer_(privateServer) {}
    std::expected<std::vector<RunningWindow>, WindowError> runningWindows() override;
    [[nodiscard]] std::optional<ProcessIdentifier> frontmostProcess() override;

private:
    PrivateWindowServerControlling* privateServer_;
};

RunningApplicationTable systemRunningApplications();
NativeValues systemNativeValues();
/// The bundle identifier of a running process.
std::optional<std::string> bundleIdentifierOf(ProcessIdentifier process);

// The parts of `systemRunningApplications` that AppKit answers.
std::optional<ProcessIdentifier> frontmostRunningProcess();
bool activateFromProcess(ProcessIdentifier giver, ProcessIdentifier process);
bool activateProcess(ProcessIdentifier process);

} // namespace varnel
