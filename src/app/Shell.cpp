#include "app/Shell.h"

#include "app/AboutWindow.h"
#include "app/EditorCommand.h"
#include "app/FirstWindow.h"
#include "app/GeneralPage.h"
#include "app/Look.h"
#include "app/PagedWindow.h"
#include "app/QtText.h"
#include "app/StateIcon.h"
#include "app/StatusWindow.h"
#include "app/TrayIcon.h"
#include "app/settings/SettingsPages.h"
#include "base/Localized.h"
#include "overlay/OverlayPreferences.h"
#include "overlay/SuggestionOverlay.h"

#include <QApplication>
#include <QMessageBox>
#include <QStandardPaths>

namespace varnel {

namespace {

/// Long after keys are captured: what follows may take its time.
constexpr Duration kQuietMoment = 400ms;

std::string findProgram(const std::string& name) {
    return QStandardPaths::findExecutable(qtText(name)).toStdString();
}

bool isSessionReason(const std::string& reason) {
    return reason == kLockedReason || reason == kAsleepReason;
}

/// Windows are shown again as they were left; the last one to close does not end the application.
template <typename Window, typename Make>
Window& made(std::unique_ptr<Window>& window, Make make) {
    if (!window)
        window = make();
    return *window;
}

} // namespace

Shell::Shell(EventLoop& loop, Application& application, ShellSystem system)
    : loop_(loop)
    , application_(application)
    , system_(std::move(system))
    , pause_({.loop = loop,
              .suspend =
                  [&hotkeys = application.hotkeys()](bool suspended) {
                      const std::string reason = kPauseReason;
                      suspended ? hotkeys.suspend(reason) : hotkeys.resume(reason);
                  },
              .elapsed = elapsedWithSleep})
    , health_(loop, application, pause_) {
    followTheme();
    overlay_ = std::make_unique<SuggestionOverlay>(application.hotkeys(), application.preferences(), loop,
                                                   *system_.surroundings);
    addSettingsPage(makeGeneralPage(*system_.login, application.preferences(), *this));
    for (SettingsPage& page : makeSettingsPages({.application = application,
                              .actions = *this,
                              .naming = keyNaming(),
                              .showSample = [this] { overlay_->showSample(); },
                              .changed = [this] { followTheme(); }}))
        addSettingsPage(std::move(page));
    application.setPresenter([this] { present(); });
    HotkeyManager& hotkeys = application.hotkeys();
    subscriptions_.push_back(health_.observe([this] { update(); }));
    subscriptions_.push_back(hotkeys.observe(HotkeyManager::Topic::status, [this, &hotkeys] {
        pause_.noticeReasons(hotkeys.suspensionReasons());
        update();
    }));
    subscriptions_.push_back(application.observeReturn([this] {
        pause_.noticeTime();
        health_.refresh();
    }));
    // What nobody waits for comes after the first keys can be captured.
    subscriptions_.push_back(loop.after(Duration::zero(), [this] { startQuietly(); }));
}

Shell::~Shell() {
    application_.setPresenter({});
}

void Shell::startQuietly() {
    tray_ = std::make_unique<TrayIcon>(*this, TrayIcon::Source{.state =
                                                                   [this] {
                                                                       health_.update();
                                                                       return state();
                                                                   },
                                                               .refresh = [this] { health_.refresh(); }});
    if (system_.whenPanelIsReady)
        system_.whenPanelIsReady([this, alive = std::weak_ptr(alive_)] {
            if (!alive.expired())
                tray_->appear();
        });
    else
        tray_->appear();
    QApplication::setWindowIcon(stateIcon(HealthState::listening));
    if (application_.options().isSafe)
        return; // nothing is written that nobody asks for
    subscriptions_.push_back(loop_.after(kQuietMoment, [this] {
        if (auto restored = restoreLaunchAtLogin(*system_.login, application_.preferences()); !restored)
            application_.log().write(LogLevel::error, "Login", restored.error());
    }));
    if (!booleanPreference(application_.preferences(), kHasShownInitialWindow, false))
        showFirstSteps();
}

void Shell::addSettingsPage(SettingsPage page) {
    pages_.push_back(std::move(page));
}

void Shell::setMainWindow(std::function<std::unique_ptr<QWidget>()> make) {
    makeMain_ = std::move(make);
}

KeyNaming Shell::keyNaming() const {
    return {.layoutLabel = [this](KeyCode code) { return system_.surroundings->keyLabel(code); },
            .usesSymbols = system_.surroundings->namesKeysBySymbols()};
}

ShellState Shell::state() const {
    const HotkeyManager& hotkeys = application_.hotkeys();
    return {.health = health_.health(),
            .isPaused = pause_.isOn(),
            .pauseLeft = pause_.left(),
            .isSuspended = hotkeys.isSuspended(),
            .isLocked = application_.isLocked(),
            .lastCommand = hotkeys.statusMessage()};
}

void Shell::update() {
    const ShellState now = state();
    if (tray_)
        tray_->setState(now);
    if (status_)
        status_->setState(now);
    if (first_)
        first_->setState(now);
}

// What can be asked for

void Shell::pause(std::optional<Duration> length) {
    pause_.begin(length);
}

void Shell::resume() {
    pause_.end();
    HotkeyManager& hotkeys = application_.hotkeys();
    // Whoever asks here for keys to be captured again means it, whatever they were suspended for.
    for (const std::string& reason : std::set<std::string>(hotkeys.suspensionReasons()))
        if (!isSessionReason(reason))
            hotkeys.resume(reason);
}

void Shell::reload() {
    application_.reload();
    application_.plugins().scan();
    health_.refresh();
}

void Shell::openConfiguration() {
    const auto words =
        editorCommand(stringPreference(application_.preferences(), kEditorPreference).value_or(""),
                      application_.config().currentConfigPath(), system_.opener, findProgram);
    if (words)
        return application_.startProgram(*words);
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Varnel!"), qtText(words.error()));
    QPushButton* settings = box.addButton(qtText(localized("Settings…")), QMessageBox::AcceptRole);
    box.addButton(QMessageBox::Close);
    box.exec();
    if (box.clickedButton() == settings)
        showSettings("general");
}

void Shell::showStatus() {
    followTheme();
    if (makeMain_)
        return bringForward(made(main_, makeMain_));
    StatusWindow& window = made(status_, [this] { return std::make_unique<StatusWindow>(*this); });
    health_.refresh();
    window.setState(state());
    bringForward(window);
}

void Shell::showSettings(const std::string& page) {
    followTheme();
    made(settings_, [this] {
        return std::make_unique<PagedWindow>(qtText(localized("Varnel! Settings")), pages_);
    }).present(qtText(page));
}

void Shell::showFirstSteps() {
    followTheme();
    FirstWindow& window = made(first_, [this] {
        return std::make_unique<FirstWindow>(
            FirstWindowContext{.actions = *this,
                               .hotkeys = application_.hotkeys(),
                               .config = application_.config(),
                               .login = *system_.login,
                               .preferences = application_.preferences(),
                               .naming = keyNaming(),
                               .askForPermission = system_.askForPermission,
                               .hasIcon = QSystemTrayIcon::isSystemTrayAvailable()});
    });
    health_.refresh();
    window.setState(state());
    bringForward(window);
    if (auto kept = application_.preferences().setValue(kHasShownInitialWindow, JSONValue(true)); !kept)
        application_.log().write(LogLevel::error, "Preferences", kept.error());
}

void Shell::showAbout() {
    followTheme();
    bringForward(made(about_, [this] {
        return std::make_unique<AboutWindow>(
            AboutWindow::Facts{.version = VARNEL_VERSION,
                               .configPath = application_.config().currentConfigPath(),
                               .preferencesPath = application_.options().paths.preferences});
    }));
}

void Shell::quit() {
    application_.quit();
}

void Shell::present() {
    if (first_ && first_->isVisible())
        return bringForward(*first_);
    showStatus();
}

// What happens around

void Shell::followTheme() {
    const OverlayTheme theme = overlayOptions(application_.preferences()).theme;
    const std::optional<bool> wanted = theme == OverlayTheme::system
                                           ? system_.surroundings->prefersDark()
                                           : std::optional(theme == OverlayTheme::dark);
    // A desktop with a style of its own has its own idea of dark windows too.
    const bool isPlain = isPlainStyle();
    if ((!isPlain && !wanted) || theme_ == wanted.value_or(false))
        return;
    theme_ = wanted.value_or(false);
    applyTheme(*theme_);
}

} // namespace varnel
