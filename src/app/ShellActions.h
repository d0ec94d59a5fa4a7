#pragma once

#include "base/TimePoint.h"

#include <expected>
#include <optional>
#include <string>

namespace varnel {

/// What the icon's menu and the windows can ask for. Main thread.
class ShellActions {
public:
    virtual ~ShellActions() = default;
    /// Nothing is captured for so long; without a length until `resume`.
    virtual void pause(std::optional<Duration> length) = 0;
    /// Ends a pause and whatever else keeps the engine suspended, but for a locked screen.
    virtual void resume() = 0;
    virtual void reload() = 0;
    /// In the editor of the user's choice. Shows the user why that failed.
    virtual void openConfiguration() = 0;
    virtual void showStatus() = 0;
    /// Empty: the page shown last.
    virtual void showSettings(const std::string& page) = 0;
    virtual void showFirstSteps() = 0;
    virtual void showAbout() = 0;
    virtual void quit() = 0;
};

} // namespace varnel
