#include "runtime/Application.h"

#include "base/Localized.h"
#include "config/LocalConfigStorageProvider.h"
#include "keyboard/TimingPreferences.h"
#include "runtime/ControlRequests.h"
#include "runtime/HealthMonitor.h"
#include "runtime/PluginChoiceResolver.h"
#include "runtime/ProcessMemory.h"
#include "runtime/SafeConfigStorage.h"
#include "runtime/WindowChoiceResolvers.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <utility>

// No header of macOS declares it.
extern "C" char** environ;

namespace varnel {

namespace {

/// Time enough for everything that a start or a new configuration sets off to be over.
constexpr Duration kSettlingTime = 300ms;
/// How often an open sequence looks whether another program has taken the keyboard.
constexpr Duration kGrabLook = 500ms;

/// What an action opens; null when it names nothing.
const std::string* launchPath(const ConfigAction& action) {
    const auto path = action.params.find("path");
    return path == action.params.end() ? nullptr : path->second.string();
}

std::string temporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    return folder && folder[0] == '/' ? folder : "/tmp";
}

void printDiagnostic(std::string_view line) {
    std::string text = std::string(line) + "\n";
    [[maybe_unused]] ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

Application::Application(EventLoop& loop, ApplicationOptions options, PlatformMaker makePlatform)
    : loop_(loop)
    , options_(std::move(options))
    , makePlatform_(std::move(makePlatform))
    , log_(makeSystemLog())
    , preferences_(openSystemPreferences(files_, options_.paths.preferences))
    , sessionGuard_(makeSessionGuard()) {}

Application::~Application() {
    if (hotkeys_)
        hotkeys_->stopGlobalMonitoring();
    controlServer_.reset();
    sessionWatch_.reset();
    grabLook_.reset();
    subscriptions_.clear();
    settling_.reset();
    hotkeys_.reset();
    if (plugins_)
        plugins_->stopWaiting();
    windowQueue_.reset();
    commandQueue_.reset();
}

std::expected<void, std::string> Application::start() {
    signals_ = std::make_unique<SignalWatch>(loop_, [this](int signal) { signalReceived(signal); });
    if (auto opened = openControlSocket(); !opened)
        return opened;
    if (auto loaded = preferences_->reload(); !loaded)
        log_->write(LogLevel::error, "Preferences", loaded.error());
    pluginPreferences_ = readPluginPreferences();
    platform_ = makePlatform_({.loop = loop_,
                               .log = *log_,
                               .displayName = {},
                               .programFolder = options_.programFolder,
                               .onConnectionLost = [this] { connectionLost(); },
                               .onTroubleChanged =
                                   [this] {
                                       noteTrouble();
                                       troubleObservers_.call(0);
                                   }});
    buildPlugins();
    if (auto opened = openConfiguration(); !opened)
        return opened;
    reviewConfiguration();
    buildEngine();
    captureKeyboard();
    plugins_->scan();
    settleSoon();
    return {};
}

std::expected<void, std::string> Application::openControlSocket() {
    auto opened =
        ControlServer::open(loop_, options_.paths,
                            [this](const JSONValue::Object& request, const ControlServer::Replies& replies) {
                                answerControlRequest(*this, request, replies);
                            });
    if (opened) {
        controlServer_ = std::move(*opened);
    } else if (opened.error().kind == ControlServerError::Kind::alreadyRunning) {
        return std::unexpected(opened.error().message);
    } else {
        log_->write(LogLevel::error, "Control", opened.error().message);
    }
    return {};
}

void Application::buildPlugins() {
    PluginManagerOptions options;
    options.bundledPluginsURL = options_.bundledPlugins.empty()
                                    ? defaultBundledPluginsFolder(options_.programFolder)
                                    : options_.bundledPlugins;
    options.userPluginsURL = options_.userPlugins;
    options.skipsUserPlugins = options_.isSafe;
    options.homeFolder = options_.paths.home;
    options.frontmostApplication = [this] { return platform_->frontmostApplication(); };
    plugins_ = std::make_unique<PluginServices>(
        std::move(options),
        PluginServices::Surroundings{
            .loop = loop_,
            .preferences = *preferences_,
            .log = *log_,
            .configurationPath = [this] { return config_ ? config_->currentConfigPath() : std::string(); },
            .isTestHost = options_.isSafe || runsUnderTestHarness(environ)});
}

std::expected<std::unique_ptr<ConfigStorageProvider>, std::string> Application::locateConfiguration() {
    const std::string& home = options_.paths.home;
    if (options_.isSafe)
        return std::make_unique<SafeConfigStorage>(
            options_.configPath.value_or(locateConfigFile(files_, *preferences_, home)));
    auto storage = LocalConfigStorageProvider::locate({files_, *preferences_, home, temporaryFolder()},
                                                      options_.configPath);
    if (!storage)
        return std::unexpected(describe(storage.error()));
    return std::move(*storage);
}

std::expected<void, std::string> Application::openConfiguration() {
    auto storage = locateConfiguration();
    if (!storage)
        return std::unexpected(storage.error());
    ConfigManager::Environment environment{
        .fileManager = files_,
        .loop = loop_,
        .fileEvents = &platform_->fileEvents(),
        .defaultConfigURL = defaultConfigURL(options_.paths.home),
        .isTestHost = options_.isSafe || runsUnderTestHarness(environ), // then nothing is watched
        .printLine = printDiagnostic,
        .configDidReload =
            [this](const std::string& path, const PluginSettings& settings) {
                plugins_->configDidReload(path, settings);
            },
        .startProgram = [this](const std::vector<std::string>& argv) { platform_->startProgram(argv); }};
    config_ = std::make_unique<ConfigManager>(std::move(environment), std::move(*storage));
    subscriptions_.push_back(preferences_->watch(
        platform_->fileEvents(), [this](const std::expected<void, std::string>& reloaded) {
            if (reloaded)
                preferencesChanged();
            else
                log_->write(LogLevel::error, "Preferences", reloaded.error());
        }));
    return {};
}

void Application::buildEngine() {
    commandFactory_ = std::make_unique<CommandFactory>(*plugins_, platform_->commandServices());
    commandQueue_ = std::make_unique<SerialQueue>(kCommandQueueLabel);
    commandExecutor_ = std::make_unique<CommandExecutor>(*commandFactory_, *commandQueue_, loop_);
    monitorFactory_ = std::make_unique<KeyboardMonitorFactory>(
        loop_, platform_->eventTaps(), [this] { return modifierTapThreshold(*preferences_); });
    addChoiceResolvers();
    hintFacts_ = std::make_unique<HintFacts>(
        HintFacts::Surroundings{.loop = loop_,
                                .executor = *windowQueue_,
                                .services = [this] { return platform_->windowServices(); },
                                .registry = [this] { return plugins_->manager().registry(); },
                                .changed = [this] { hotkeys_->refreshHints(); }});
    hotkeys_ = std::make_unique<HotkeyManager>(HotkeyManagerDependencies{
        .loop = loop_,
        .keyboardMonitorFactory = *monitorFactory_,
        .timings = sequenceTimings(*preferences_),
        .commandExecutor = *commandExecutor_,
        .currentConfigPath = [this] { return config_->currentConfigPath(); },
        .pluginSettings = [this]() -> const PluginSettings& { return config_->pluginSettings(); },
        .isAccessibilityTrusted =
            [this] {
                Permissions* permissions = platform_->permissions();
                return permissions ? permissions->isTrusted() : platform_->captureError().empty();
            },
        .writeDiagnostic = printDiagnostic,
        .applicationStatusResolver = [this](const std::string& path) { return hintFacts_->isRunning(path); },
        .actionAvailability = [this](const ConfigItem& item) { return hintFacts_->availability(item); },
        .obstacle =
            [](const ConfigItem& item) {
                const std::string* path = item.action && item.action->pluginID == core::application
                                              ? launchPath(*item.action)
                                              : nullptr;
                return path ? makeApplicationFinder()(*path) : std::string();
            },
        .captureError = [this] { return platform_->captureError(); },
        .dynamicChoiceRegistry = &choices_,
        .localMonitorFactory = nullptr});
    hotkeys_->updateConfiguration(config_->sharedRootItems());
    noteLoadError();
    subscriptions_.push_back(hotkeys_->observe(HotkeyManager::Topic::hints, [this] { watchOpenSequence(); }));
    subscriptions_.push_back(config_->observe([this](const ConfigChange& change) {
        if (change.loadError)
            noteLoadError();
        if (change.loadError || change.rootItems)
            review_->reviewSoon();
        if (!change.rootItems)
            return;
        hotkeys_->updateConfiguration(config_->sharedRootItems());
        settleSoon();
    }));
}

void Application::reviewConfiguration() {
    review_ = std::make_unique<ConfigReview>(
        ConfigReview::Surroundings{.loop = loop_,
                                   .executor = plugins_->backgroundQueue(),
                                   .log = *log_,
                                   .configPath = [this] { return config_->currentConfigPath(); },
                                   .registry = [this] { return plugins_->manager().registry(); }});
    subscriptions_.push_back(
        plugins_->manager().observe([this](const PluginRegistry&) { review_->reviewSoon(); }));
    review_->reviewSoon();
}

void Application::addChoiceResolvers() {
    windowQueue_ = std::make_unique<SerialQueue>("com.brackwell.varnel.windows");
    addWindowChoiceResolvers(choices_, {.loop = loop_,
                                        .executor = *windowQueue_,
                                        .services = [this] { return platform_->windowServices(); },
                                        .ownProcess = ::getpid()});
    choices_.add(
        std::string(kPluginChoices),
        std::make_shared<PluginChoiceResolver>(PluginChoiceResolver::Surroundings{
            .loop = loop_,
            .executor = plugins_->choiceQueue(),
            .manager = plugins_->manager(),
            .configurationPath = [this] { return config_->currentConfigPath(); },
            .pluginSettings = [this]() -> const PluginSettings& { return config_->pluginSettings(); }}));
}

bool Application::captureKeyboard() {
    if (hotkeys_->isGlobalOn() || hotkeys_->startGlobalMonitoring())
        return true;
    log_->write(LogLevel::error, "Keyboard",
                localized("Keys cannot be captured: %1", {platform_->captureError()}));
    awaitPermission();
    return false;
}

/// A tap made without the permission stays dead after it was given: it has to be made again.
void Application::awaitPermission() {
    Permissions* permissions = platform_->permissions();
    if (!permissions)
        return;
    permissions->request();
    if (!permissions->isTrusted())
        permissions->whenTrusted([this] { captureKeyboard(); });
}

Subscription Application::observeTrouble(std::function<void()> observer) {
    return troubleObservers_.add(0, std::move(observer));
}

bool Application::present() {
    if (presenter_)
        presenter_();
    return presenter_ != nullptr;
}

/// Remembers when the keyboard was not ours, for those who ask later why nothing happened.
void Application::noteTrouble() {
    if (!hotkeys_)
        return;
    std::string trouble = hotkeys_->trouble();
    if (trouble == notedTrouble_)
        return;
    notedTrouble_ = std::move(trouble);
    hotkeys_->note(notedTrouble_.empty() ? Decision::Kind::keyboardFree : Decision::Kind::keyboardTaken,
                   notedTrouble_);
}

void Application::noteLoadError() {
    if (const auto& error = config_->loadError())
        hotkeys_->note(Decision::Kind::configurationFailed,
                       problemLine(configurationProblem(*error, config_->currentConfigPath())));
}

void Application::settleSoon() {
    settling_ = loop_.after(kSettlingTime, [this] {
        if (!std::exchange(hasSettled_, true)) {
            platform_->prepareCommands(*commandQueue_);
            watchSession();
        }
        returnUnusedMemory();
    });
}

SessionGuard Application::makeSessionGuard() {
    return SessionGuard({.loop = loop_,
                         .suspend =
                             [this](const std::string& reason, bool suspended) {
                                 suspended ? hotkeys_->suspend(reason) : hotkeys_->resume(reason);
                             },
                         .isKeyboardHeldElsewhere = [this] { return hotkeys_->isKeyboardHeldElsewhere(); },
                         .cameBack =
                             [this] {
                                 captureKeyboard();
                                 returnObservers_.call(0);
                             }});
}

void Application::watchSession() {
    sessionWatch_ = platform_->watchSession();
    if (sessionWatch_)
        sessionWatch_->start([this](SessionEvent event) { sessionGuard_.handle(event); });
}

/// A screen locker takes the keyboard without a word to us; hints must not stay above it.
void Application::watchOpenSequence() {
    if (hotkeys_->interaction() == Interaction::idle)
        return grabLook_.reset();
    if (grabLook_)
        return;
    grabLook_ = loop_.after(kGrabLook, [this] {
        grabLook_.reset();
        if (hotkeys_->isKeyboardHeldElsewhere())
            hotkeys_->reset("another program has taken the keyboard");
        else
            watchOpenSequence();
    });
}

Subscription Application::observeReturn(std::function<void()> observer) {
    return returnObservers_.add(0, std::move(observer));
}

void Application::preferencesChanged() {
    // Another program may have trusted, enabled or disabled a plugin.
    JSONValue::Array now = readPluginPreferences();
    if (now == pluginPreferences_)
        return;
    pluginPreferences_ = std::move(now);
    plugins_->scan();
}

JSONValue::Array Application::readPluginPreferences() const {
    return {preferences_->value("pluginTrustRecords").value_or(nullptr),
            preferences_->value("pluginDisabledKeys").value_or(nullptr)};
}

void Application::reload() {
    if (!options_.isSafe) // there is no file that could have changed
        config_->reloadNow();
    captureKeyboard();
}

void Application::sendShortcut(const std::string& token, bool isLocal, CommandExecuting::Report report) {
    ConfigItem item;
    item.name = token;
    item.action = ConfigAction{
        core::shortcut, "press", {{"shortcut", token}, {"deliveryMode", isLocal ? "local" : "global"}}};
    commandExecutor_->execute(item, {}, {}, std::move(report));
}

void Application::quit() {
    loop_.quit();
}

void Application::signalReceived(int signal) {
    if (signal != SIGHUP)
        quit();
    else if (hotkeys_)
        reload();
}

void Application::connectionLost() {
    failure_ = localized("the connection to the display was lost");
    quit();
}

} // namespace varnel
