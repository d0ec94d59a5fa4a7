#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "base/macos/SystemTables.h"
#include "commands/ApplicationActivationCoordinator.h"
#include "commands/macos/SystemCommands.h"
#include "keyboard/macos/SystemEventTaps.h"
#include "runtime/Platform.h"
#include "runtime/macos/MacDoctorFacts.h"
#include "runtime/macos/MacSessionWatch.h"
#include "runtime/macos/MacWindowServices.h"
#include "runtime/macos/SystemPermissions.h"

#include <spawn.h>
#include <sys/wait.h>

#include <utility>

// No header of macOS declares it.
extern "C" char** environ;

namespace varnel {

namespace {

/// Remembers whether the system refused the last tap.
class WatchedTaps final : public KeyboardEventTapSessionCreating {
public:
    std::unique_ptr<KeyboardEventTapSession> createSession(KeyboardTapCallback callback) override {
        auto session = factory_.createSession(std::move(callback));
        isRefused_ = session == nullptr;
        return session;
    }
    [[nodiscard]] bool isRefused() const { return isRefused_; }
    [[nodiscard]] std::optional<EventTapRequest::Level> grantedLevel() const {
        return factory_.grantedLevel();
    }

private:
    CoreGraphicsKeyboardEventTapSessionFactory factory_{systemEventTaps()};
    bool isRefused_ = false;
};

class MacPlatform final : public Platform {
public:
    explicit MacPlatform(PlatformSurroundings surroundings)
        : loop_(surroundings.loop)
        , log_(surroundings.log)
        , permissions_(systemPermissions(), surroundings.loop)
        , fileEvents_(surroundings.loop, systemVnodes())
        , workspace_(systemWorkspace())
        , launcher_(workspace_)
        , activator_(launcher_, files_, log_)
        , poster_(makeSystemShortcutPoster(systemHidPosting(), systemCoreGraphicsPosting(), log_)) {}

    KeyboardEventTapSessionCreating& eventTaps() override { return taps_; }
    [[nodiscard]] std::string captureError() const override {
        return taps_.isRefused() ? localized("The keyboard cannot be captured. Allow Varnel under Privacy & "
                                             "Security, Accessibility in the system's settings.")
                                 : std::string();
    }
    Permissions* permissions() override { return &permissions_; }
    JSONValue::Object selfReport() override { return asJSON(readMacFacts(taps_.grantedLevel())); }
    FileEventSource& fileEvents() override { return fileEvents_; }

    CommandServices commandServices() override {
        return {.applicationActivator = activator_,
                .bundleIdentifier = workspace_.bundleIdentifier,
                .eventPoster = poster_,
                .frontmostProcessIdentifier = workspace_.frontmostProcessIdentifier,
                .log = log_};
    }

    std::optional<std::string> frontmostApplication() override {
        const auto process = frontmostRunningProcess();
        return process ? bundleIdentifierOf(*process) : std::nullopt;
    }

    WindowServices* windowServices() override {
        if (!windowServices_)
            windowServices_.emplace(log_);
        return &*windowServices_;
    }

    void startProgram(const std::vector<std::string>& argv) override {
        // The shell lets go of the program and ends, so that nobody has to wait for it.
        std::string shell = "sh", option = "-c", script = "\"$@\" > /dev/null 2>&1 &";
        std::vector<char*> arguments{shell.data(), option.data(), script.data(), shell.data()};
        for (const std::string& argument : argv)
            arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        pid_t child = 0;
        if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments.data(), environ) == 0)
            waitpid(child, nullptr, 0);
    }

    std::unique_ptr<SessionWatching> watchSession() override {
        return std::make_unique<MacSessionWatch>(loop_);
    }

    /// Nothing takes long here.
    void prepareCommands(SerialExecutor&) override {}

private:
    EventLoop& loop_;
    LogSink& log_;
    PosixFileSystem files_;
    WatchedTaps taps_;
    Permissions permissions_;
    VnodeFileEventSource fileEvents_;
    WorkspaceTable workspace_;
    WorkspaceApplicationLauncher launcher_;
    ApplicationActivationCoordinator activator_;
    KeyboardShortcutPoster poster_;
    std::optional<MacWindowServices> windowServices_; ///< made and used on the worker thread
};

} // namespace

std::unique_ptr<Platform> makePlatform(PlatformSurroundings surroundings) {
    return std::make_unique<MacPlatform>(std::move(surroundings));
}

} // namespace varnel
