#pragma once

#include "app/SettingsPage.h"
#include "app/ShellActions.h"
#include "app/ShellState.h"
#include "app/ShellSystem.h"
#include "overlay/KeyCaps.h"
#include "runtime/Application.h"
#include "runtime/HealthMonitor.h"
#include "runtime/Pause.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QWidget;

namespace varnel {

class AboutWindow;
class FirstWindow;
class PagedWindow;
class StatusWindow;
class SuggestionOverlay;
class TrayIcon;

/// Everything that can be seen of the running application: the icon and its menu, the hints, and the windows,
/// each made when it is first shown. Main thread.
class Shell final : public ShellActions {
public:
    /// The application has been started; it and the loop outlive the shell.
    Shell(EventLoop& loop, Application& application, ShellSystem system);
    ~Shell() override;
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    /// Adds a page to the settings window, before that is first shown.
    void addSettingsPage(SettingsPage page);
    /// Makes the window that a second start and the menu's first line bring forward; until then it is the one
    /// with the status.
    void setMainWindow(std::function<std::unique_ptr<QWidget>()> make);

    [[nodiscard]] ShellState state() const;
    [[nodiscard]] SuggestionOverlay& overlay() { return *overlay_; }

    void pause(std::optional<Duration> length) override;
    void resume() override;
    void reload() override;
    void openConfiguration() override;
    void showStatus() override;
    void showSettings(const std::string& page) override;
    void showFirstSteps() override;
    void showAbout() override;
    void quit() override;

private:
    [[nodiscard]] KeyNaming keyNaming() const;
    void present();
    void startQuietly();
    void followTheme();
    void update();

    EventLoop& loop_;
    Application& application_;
    ShellSystem system_;
    Pause pause_;
    HealthMonitor health_;
    std::unique_ptr<SuggestionOverlay> overlay_;
    std::unique_ptr<TrayIcon> tray_;
    std::vector<SettingsPage> pages_;
    std::function<std::unique_ptr<QWidget>()> makeMain_;
    std::unique_ptr<QWidget> main_;
    std::unique_ptr<StatusWindow> status_;
    std::unique_ptr<FirstWindow> first_;
    std::unique_ptr<PagedWindow> settings_;
    std::unique_ptr<AboutWindow> about_;
    std::optional<bool> theme_; ///< whether the dark one is on
    std::vector<Subscription> subscriptions_;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

} // namespace varnel
