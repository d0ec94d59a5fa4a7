#pragma once

#include "activation/RunningWindows.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A running application that has ordinary windows.
struct RunningApplication {
    std::string id; ///< stays the same as long as it runs: see `applicationKey`
    std::string name;
    ProcessIdentifier process = 0;      ///< of its front window
    std::vector<RunningWindow> windows; ///< front to back
    friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

/// What tells a window's application from others: its class, or its process where it has none.
std::string applicationKey(const RunningWindow& window);

/// The applications of the windows, the front one first. Windows that are not ordinary, and those of
/// `ownProcess`, are left out.
std::vector<RunningApplication> runningApplications(const std::vector<RunningWindow>& windows,
                                                    ProcessIdentifier ownProcess);

/// The application that a name means: its identifier, its name or an instance name, ignoring case; else the
/// only one whose name begins so. None when there is no such or the name is ambiguous.
const RunningApplication* findApplication(const std::vector<RunningApplication>& applications,
                                          std::string_view name);

/// For people: the title in one line, or the application's name where there is none.
std::string windowTitle(const RunningWindow& window);
/// Where it is, when that is not in plain sight: "Desktop 2, minimised"; else empty.
std::string windowPlace(const RunningWindow& window);

} // namespace varnel
