#pragma once

#include "activation/RunningWindows.h"
#include "base/Log.h"

#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// The windows of running applications, and bringing one to the front. May wait for the window server: for
/// one worker thread, never the main one.
class WindowServices {
public:
    virtual ~WindowServices() = default;
    /// Front to back. The error is a sentence for the user.
    virtual std::expected<std::vector<RunningWindow>, WindowError> windows() = 0;
    virtual std::expected<void, WindowError> activate(const RunningWindow& window) = 0;
    /// The front window of the application at a path, as the launcher would bring it forward; none when it is
    /// not running.
    virtual std::optional<WindowNumber> frontWindowOf(const std::string& applicationPath) = 0;
};

/// Those of the system that the program runs on. `log` must outlive them.
std::expected<std::unique_ptr<WindowServices>, WindowError> openWindowServices(LogSink& log);

} // namespace varnel
