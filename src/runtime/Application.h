#pragma once

#include "base/Log.h"
#include "base/LoopTasks.h"
#include "base/PosixFileSystem.h"
#include "base/SerialQueue.h"
#include "base/SharedPreferences.h"
#include "commands/CommandExecutor.h"
#include "commands/CommandFactory.h"
#include "config/ConfigManager.h"
#include "keyboard/HotkeyManager.h"
#include "keyboard/KeyboardMonitor.h"
#include "runtime/ConfigReview.h"
#include "runtime/ControlServer.h"
#include "runtime/HintFacts.h"
#include "runtime/Platform.h"
#include "runtime/PluginServices.h"
#include "runtime/RuntimePaths.h"
#include "runtime/SessionWatch.h"
#include "runtime/SignalWatch.h"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// How an application is started. Paths are absolute.
struct ApplicationOptions {
    RuntimePaths paths;
    std::optional<std::string> configPath = std::nullopt; ///< none: the active file is located
    std::string bundledPlugins = {};                      ///< empty: beside the program
    std::string userPlugins = {};                         ///< empty: the user's own
    std::string programFolder = {};                       ///< where this program lies
    /// Depends on nothing the user has changed: the built-in configuration in memory, bundled plugins only,
    /// no hooks; nothing is saved.
    bool isSafe = false;
};

/// The running application: every object of it, built once and in the order that lets keys be captured as
/// early as possible. Knows nothing of windows. Main thread only.
class Application {
public:
    /// The loop must outlive the application. Nothing happens before `start`.
    Application(EventLoop& loop, ApplicationOptions options,
                PlatformMaker makePlatform = varnel::makePlatform);
    /// Lets go of the keyboard first, then waits for the command that runs.
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// The error is a sentence for the user; nothing was captured then. An application that cannot capture
    /// the keyboard starts all the same and says why in its log and status.
    std::expected<void, std::string> start();

    /// Tries to capture the keyboard where that failed before; true when keys are captured.
    bool captureKeyboard();
    /// Why the keyboard cannot be captured, as a sentence; empty when it can.
    [[nodiscard]] std::string captureError() const { return platform_->captureError(); }
    /// Calls `observer` when `hotkeys().trouble()` may have another answer.
    [[nodiscard]] Subscription observeTrouble(std::function<void()> observer);

    /// Whether the user's session is locked, so that nothing is captured.
    [[nodiscard]] bool isLocked() const { return sessionGuard_.isLocked(); }
    /// Calls `observer` when the computer has slept or the screen was locked, and keys are captured again.
    [[nodiscard]] Subscription observeReturn(std::function<void()> observer);

    /// What brings the application's windows to the user; without it there are none.
    void setPresenter(std::function<void()> presenter) { presenter_ = std::move(presenter); }
    /// False when the application has no windows.
    bool present();
    /// Starts a program, looked up in PATH, that lives on by itself; a failure is ignored.
    void startProgram(const std::vector<std::string>& argv) { platform_->startProgram(argv); }

    /// Reads the configuration at once, and tries to capture the keyboard where that failed before.
    void reload();
    /// Sends a shortcut as an item that is bound to one would, and reports the command's message.
    void sendShortcut(const std::string& token, bool isLocal, CommandExecuting::Report report);
    /// Ends the loop in its next turn.
    void quit();
    /// Why the application ended by itself; empty when it was told to.
    [[nodiscard]] const std::string& failure() const { return failure_; }

    [[nodiscard]] HotkeyManager& hotkeys() { return *hotkeys_; }
    [[nodiscard]] const HotkeyManager& hotkeys() const { return *hotkeys_; }
    [[nodiscard]] ConfigManager& config() { return *config_; }
    /// What the check says of the configuration, some time after it has come.
    [[nodiscard]] const ConfigReviewResult& configReview() const { return review_->result(); }
    [[nodiscard]] PluginServices& plugins() { return *plugins_; }
    [[nodiscard]] PreferenceStore& preferences() { return *preferences_; }
    /// What the user must allow; null where nothing has to be, and before `start`.
    [[nodiscard]] Permissions* permissions() { return platform_ ? platform_->permissions() : nullptr; }
    [[nodiscard]] JSONValue::Object selfReport() const { return platform_->selfReport(); }
    [[nodiscard]] LogSink& log() { return *log_; }
    [[nodiscard]] const ApplicationOptions& options() const { return options_; }

private:
    std::expected<void, std::string> openControlSocket();
    std::expected<void, std::string> openConfiguration();
    void buildPlugins();
    void buildEngine();
    void addChoiceResolvers();
    void reviewConfiguration();
    void awaitPermission();
    void settleSoon();
    void watchSession();
    void watchOpenSequence();
    [[nodiscard]] SessionGuard makeSessionGuard();
    void preferencesChanged();
    [[nodiscard]] JSONValue::Array readPluginPreferences() const;
    void signalReceived(int signal);
    void connectionLost();
    void noteTrouble();
    void noteLoadError();
    [[nodiscard]] std::expected<std::unique_ptr<ConfigStorageProvider>, std::string> locateConfiguration();

    EventLoop& loop_;
    ApplicationOptions options_;
    PlatformMaker makePlatform_;
    std::unique_ptr<LogSink> log_;
    PosixFileSystem files_;
    std::unique_ptr<SharedPreferences> preferences_;
    std::unique_ptr<SignalWatch> signals_;
    std::unique_ptr<ControlServer> controlServer_;
    std::unique_ptr<Platform> platform_;
    std::unique_ptr<PluginServices> plugins_;
    std::unique_ptr<CommandFactory> commandFactory_;
    std::unique_ptr<SerialQueue> commandQueue_;
    std::unique_ptr<CommandExecutor> commandExecutor_;
    std::unique_ptr<SerialQueue> windowQueue_; ///< where choices among windows are looked for
    DynamicChoiceRegistry choices_;
    std::unique_ptr<ConfigManager> config_;
    std::unique_ptr<KeyboardMonitorFactory> monitorFactory_;
    std::unique_ptr<HintFacts> hintFacts_;
    std::unique_ptr<HotkeyManager> hotkeys_;
    std::unique_ptr<ConfigReview> review_;
    SessionGuard sessionGuard_;
    std::unique_ptr<SessionWatching> sessionWatch_;
    Subscription grabLook_;
    std::vector<Subscription> subscriptions_;
    CallbackList troubleObservers_, returnObservers_;
    std::string notedTrouble_; ///< the latest that was noted as a decision
    std::function<void()> presenter_;
    Subscription settling_;
    bool hasSettled_ = false;
    JSONValue::Array pluginPreferences_; ///< those that decide which plugins may run
    std::string failure_;
};

} // namespace varnel
