#include "activation/x11/XcbDesktop.h"
#include "base/PosixFileSystem.h"
#include "base/Text.h"
#include "base/linux/InotifyFileEventSource.h"
#include "commands/linux/DetachedProgram.h"
#include "commands/linux/LinuxWorkspace.h"
#include "commands/x11/DesktopApplicationWindows.h"
#include "commands/x11/XcbShortcutPosting.h"
#include "keyboard/notation/PostedKeyLedger.h"
#include "keyboard/x11/XcbKeyboardEventTapSession.h"
#include "runtime/Platform.h"
#include "runtime/linux/BusSessionWatch.h"
#include "runtime/x11/X11WindowServices.h"

#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <utility>

namespace varnel {

namespace {

std::vector<std::string> environmentStrings() {
    std::vector<std::string> strings;
    for (char** variable = environ; *variable; ++variable)
        strings.emplace_back(*variable);
    return strings;
}

/// The desktop, connected to when somebody first asks, so that a start does not wait for it. Any thread.
class DesktopOnDemand final : public RunningApplicationWindows {
public:
    explicit DesktopOnDemand(std::string displayName)
        : displayName_(std::move(displayName)) {}

    std::vector<ApplicationWindow> windows() override {
        XcbDesktop* desktop = connected();
        return desktop ? DesktopApplicationWindows(*desktop).windows() : std::vector<ApplicationWindow>();
    }
    bool activate(WindowNumber window) override {
        XcbDesktop* desktop = connected();
        return desktop && DesktopApplicationWindows(*desktop).activate(window);
    }
    std::optional<ProcessIdentifier> frontmostProcess() {
        XcbDesktop* desktop = connected();
        return desktop ? desktop->frontmostProcess() : std::nullopt;
    }
    /// The class of the window in front, from what is known already.
    std::optional<std::string> frontmostClass() {
        std::unique_lock lock(mutex_, std::try_to_lock);
        std::optional<WindowNumber> front = lock && desktop_ ? desktop_->activeWindow() : std::nullopt;
        if (!front)
            return std::nullopt;
        for (const DesktopWindow& window : desktop_->clientWindows())
            if (window.id == *front && !window.className.empty())
                return window.className;
        return std::nullopt;
    }
    /// Null while it cannot be reached; the next call tries again.
    XcbDesktop* connected() {
        const std::lock_guard lock(mutex_);
        if (!desktop_)
            if (auto made = XcbDesktop::connect(displayName_))
                desktop_ = std::move(*made);
        return desktop_.get();
    }

private:
    std::string displayName_;
    std::mutex mutex_;
    std::unique_ptr<XcbDesktop> desktop_;
};

std::string helperProgram(const std::string& folder, const char* name) {
    std::string path = folder.empty() ? std::string() : appendPath(folder, name);
    return !path.empty() && ::access(path.c_str(), X_OK) == 0 ? path : std::string();
}

/// The program's path, looked up in PATH; "" when there is none.
std::string findProgram(const std::string& name) {
    if (name.find('/') != std::string::npos)
        return name;
    const char* folders = std::getenv("PATH");
    for (std::string_view folder : split(folders ? folders : "/usr/bin:/bin", ':'))
        if (std::string path = appendPath(folder, name); ::access(path.c_str(), X_OK) == 0)
            return path;
    return {};
}

class X11Platform final : public Platform {
public:
    explicit X11Platform(PlatformSurroundings surroundings)
        : loop_(surroundings.loop)
        , log_(surroundings.log)
        , taps_(surroundings.loop,
                {.displayName = surroundings.displayName,
                 .ledger = &ledger_,
                 .guardProgram = helperProgram(surroundings.programFolder, "varnel-keyguard"),
                 .onConnectionLost = std::move(surroundings.onConnectionLost),
                 .onTroubleChanged = std::move(surroundings.onTroubleChanged)})
        , fileEvents_(surroundings.loop)
        , launcherProgram_(helperProgram(surroundings.programFolder, "varnel-launcher"))
        , desktop_(surroundings.displayName)
        , workspace_({.files = files_,
                      .windows = &desktop_,
                      .environment = environmentStrings(),
                      .start = [this](const ProgramStart& start) { return launcher_.start(start); }})
        , workspaceTable_(workspace_.table())
        , activator_(workspace_, files_, log_)
        , posting_({.displayName = surroundings.displayName,
                    .ledger = &ledger_,
                    .windows = &desktop_,
                    .frontmostProcess = [this] { return desktop_.frontmostProcess(); }},
                   log_) {}

    KeyboardEventTapSessionCreating& eventTaps() override { return taps_; }
    [[nodiscard]] std::string captureError() const override { return taps_.error(); }
    FileEventSource& fileEvents() override { return fileEvents_; }

    CommandServices commandServices() override {
        return {
            .applicationActivator = activator_,
            .bundleIdentifier = workspaceTable_.bundleIdentifier,
            .eventPoster =
                [this](const std::vector<KeyboardShortcutEvent>& events,
                       const KeyboardShortcutDeliveryRoute& route) { return posting_.post(events, route); },
            .frontmostProcessIdentifier = [this] { return desktop_.frontmostProcess(); },
            .log = log_};
    }

    WindowServices* windowServices() override {
        if (!windowServices_)
            if (XcbDesktop* desktop = desktop_.connected())
                windowServices_.emplace(*desktop, log_);
        return windowServices_ ? &*windowServices_ : nullptr;
    }

    void startProgram(const std::vector<std::string>& argv) override {
        if (std::string program = findProgram(argv.at(0)); !program.empty())
            (void)startDetached(
                {program, argv, std::make_shared<const std::vector<std::string>>(environmentStrings()), {}});
    }

    std::optional<std::string> frontmostApplication() override { return desktop_.frontmostClass(); }

    std::unique_ptr<SessionWatching> watchSession() override {
        return std::make_unique<BusSessionWatch>(loop_);
    }

    void prepareCommands(SerialExecutor& queue) override {
        queue.submit([this, alive = std::weak_ptr(alive_)] {
            launcher_.prepare(launcherProgram_);
            XcbDesktop* desktop = desktop_.connected();
            if (!desktop)
                return;
            loop_.post([this, alive, desktop] {
                if (!alive.expired())
                    attachment_ = desktop->attach(loop_);
            });
        });
    }

private:
    EventLoop& loop_;
    LogSink& log_;
    PostedKeyLedger ledger_;
    PosixFileSystem files_;
    XcbKeyboardEventTapSessionFactory taps_;
    InotifyFileEventSource fileEvents_;
    std::string launcherProgram_;
    ProgramLauncher launcher_; ///< used on the command queue
    DesktopOnDemand desktop_;
    std::optional<X11WindowServices> windowServices_; ///< made and used on the worker thread
    LinuxWorkspace workspace_;
    WorkspaceTable workspaceTable_;
    LinuxApplicationActivator activator_;
    XcbShortcutPosting posting_;
    Subscription attachment_;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

} // namespace

std::unique_ptr<Platform> makePlatform(PlatformSurroundings surroundings) {
    return std::make_unique<X11Platform>(std::move(surroundings));
}

} // namespace varnel
