#pragma once

#include "app/ShellState.h"
#include "config/ConfigManager.h"
#include "keyboard/HotkeyManager.h"
#include "overlay/KeyCaps.h"
#include "runtime/LaunchAtLogin.h"

#include <QWidget>

#include <functional>

class QPushButton;
class QStackedWidget;

namespace varnel {

class ShellActions;
class TryPage;
class WayOutPage;
class DonePage;

/// Set once the first window has been on screen.
inline constexpr std::string_view kHasShownInitialWindow = "hasShownInitialWindow";

/// What the first window works with; all of it outlives the window.
struct FirstWindowContext {
    ShellActions& actions;
    HotkeyManager& hotkeys;
    ConfigManager& config;
    LaunchAtLogin& login;
    PreferenceStore& preferences;
    KeyNaming naming = {};
    std::function<void()> askForPermission = {}; ///< empty: this system asks for none
    bool hasIcon = true;                         ///< the desktop shows our icon
};

/// The first steps of a new user: the ways out and whether keys can be captured, a sequence to try with live
/// hints, and where everything is found from then on.
class FirstWindow : public QWidget {
public:
    explicit FirstWindow(FirstWindowContext context);
    void setState(const ShellState& state);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showStep(int step);

    WayOutPage* wayOut_;
    TryPage* try_;
    DonePage* done_;
    QStackedWidget* stack_;
    QPushButton* back_;
    QPushButton* next_;
};

} // namespace varnel
