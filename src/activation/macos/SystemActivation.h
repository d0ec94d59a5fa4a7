#pragma once

#include "activation/AccessibilityArranging.h"
#include "activation/PrivateWindowServer.h"
#include "activation/RunningApplicationTable.h"
#include "activation/WindowFocusing.h"
#include "activation/WindowListing.h"

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

WindowListTable systemWindowList();
/// Calls of this process wait half a second for another program's answer from then on.
RunningApplicationTable systemRunningApplications();
/// `server` must outlive it.
WindowArrangingTable systemWindowArranging(PrivateWindowServerControlling& server);
NativeValues systemNativeValues();
/// Sleeps for some milliseconds; on the main thread its run loop then turns once, which is what brings
/// AppKit's picture of running applications up to date.
void pauseBriefly();
/// The bundle identifier of a running process.
std::optional<std::string> bundleIdentifierOf(ProcessIdentifier process);

// The parts of the tables that AppKit answers.
std::vector<ScreenFrames> systemScreens();
std::optional<ProcessIdentifier> frontmostRunningProcess();
bool activateFromProcess(ProcessIdentifier giver, ProcessIdentifier process);
bool activateProcess(ProcessIdentifier process);

} // namespace varnel
