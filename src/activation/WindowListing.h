#pragma once

#include "activation/PrivateWindowServer.h"
#include "activation/RunningApplicationTable.h"
#include "activation/RunningWindows.h"
#include "activation/WindowGeometry.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// An entry of macOS' list of windows.
struct WindowListEntry {
    WindowNumber number = 0;
    ProcessIdentifier process = 0;
    int layer = 0;
    double alpha = 1; ///< 0: cannot be seen at all
    Rectangle bounds = {};
    std::string title = {}; ///< empty without the permission to record the screen
    std::string applicationName = {};
    friend bool operator==(const WindowListEntry&, const WindowListEntry&) = default;
};

/// What macOS tells of windows and of who owns them. Any thread.
struct WindowListTable {
    std::function<std::vector<WindowListEntry>()> onScreenWindows; ///< front to back
    std::function<std::vector<WindowListEntry>()> allWindows;      ///< in no order
    std::function<std::optional<std::string>(ProcessIdentifier)> bundleIdentifier;
};

/// The window server's own order of what is on screen.
class WindowListOrdering final : public WindowOrderingProviding {
public:
    explicit WindowListOrdering(WindowListTable list)
        : list_(std::move(list)) {}
    std::vector<OrderedWindow> windowsFrontToBack() override;

private:
    WindowListTable list_;
};

/// The windows of running applications as a user knows them. The window server lists many more that nobody
/// has ever seen: of those that are not on screen, one counts when it is on a space out of sight, or when its
/// application offers it to the accessibility service, as it does with minimised and hidden ones. An
/// application that does not answer costs one message's patience a listing.
class WindowListListing final : public RunningWindowListing {
public:
    /// All must outlive it.
    WindowListListing(const WindowListTable& list, const RunningApplicationTable& applications,
                      WindowAccessibilityControlling& accessibility, PrivateWindowServerControlling& server)
        : list_(list)
        , applications_(applications)
        , accessibility_(accessibility)
        , server_(server) {}

    std::expected<std::vector<RunningWindow>, WindowError> runningWindows() override;
    [[nodiscard]] std::optional<ProcessIdentifier> frontmostProcess() override {
        return applications_.frontmostProcess();
    }

private:
    class Listing;

    const WindowListTable& list_;
    const RunningApplicationTable& applications_;
    WindowAccessibilityControlling& accessibility_;
    PrivateWindowServerControlling& server_;
};

} // namespace varnel
