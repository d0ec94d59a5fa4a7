#pragma once

#include "base/EventLoop.h"
#include "base/FileEventSource.h"
#include "base/Log.h"
#include "base/SerialQueue.h"
#include "commands/CommandFactory.h"
#include "keyboard/KeyboardMonitoring.h"
#include "runtime/Permissions.h"
#include "runtime/SessionWatch.h"
#include "runtime/WindowServices.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// The adapters of the system that the program runs on. Everything that costs time is made when it is first
/// asked for. Main thread.
class Platform {
public:
    virtual ~Platform() = default;

    virtual KeyboardEventTapSessionCreating& eventTaps() = 0;
    /// Why the last tap was refused, as a sentence; empty when none was.
    [[nodiscard]] virtual std::string captureError() const = 0;
    /// What the user must allow before keys can be captured; null where nothing has to be.
    virtual Permissions* permissions() { return nullptr; }
    /// What the system tells only the running application, for `varnel doctor`; may be empty.
    virtual JSONValue::Object selfReport() { return {}; }
    virtual FileEventSource& fileEvents() = 0;
    /// What commands work with. They use it on the command queue, which must have ended before the platform
    /// is destroyed.
    virtual CommandServices commandServices() = 0;
    /// The identifier of the application in front, as far as it is known without waiting.
    virtual std::optional<std::string> frontmostApplication() { return std::nullopt; }
    /// The windows of running applications; null while there is no window server. Called on one worker
    /// thread, which must have ended before the platform is destroyed.
    virtual WindowServices* windowServices() = 0;
    /// Starts a program, looked up in PATH, that lives on by itself; a failure is ignored.
    virtual void startProgram(const std::vector<std::string>& argv) = 0;
    /// Hears of the user's session; null where the system tells nothing of it. Called once the keyboard is
    /// captured.
    virtual std::unique_ptr<SessionWatching> watchSession() { return nullptr; }
    /// Gets ready, on `queue`, what the first command would otherwise wait for. Called once the keyboard is
    /// captured.
    virtual void prepareCommands(SerialExecutor& queue) = 0;
};

/// What a platform is made with; all of it outlives the platform.
struct PlatformSurroundings {
    EventLoop& loop;
    LogSink& log;
    std::string displayName;                ///< of the keyboard server; empty: as the environment says
    std::string programFolder;              ///< where the helper programs lie
    std::function<void()> onConnectionLost; ///< the keyboard server is gone for good
    std::function<void()> onTroubleChanged; ///< what is in the way of capturing has changed
};
using PlatformMaker = std::function<std::unique_ptr<Platform>(PlatformSurroundings)>;

/// The platform that this build is for.
std::unique_ptr<Platform> makePlatform(PlatformSurroundings surroundings);

} // namespace varnel
