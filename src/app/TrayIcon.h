#pragma once

#include "app/ShellState.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>

#include <functional>
#include <memory>

namespace varnel {

class ShellActions;

/// The application's icon in the panel, and its menu.
class TrayIcon : public QObject {
public:
    struct Source {
        std::function<ShellState()> state;
        std::function<void()> refresh; ///< called before the menu is shown
    };
    TrayIcon(ShellActions& actions, Source source);

    void setState(const ShellState& state);
    /// Once. Where the desktop has no place for icons, it appears as soon as there is one.
    void appear();
    [[nodiscard]] bool isMenuOpen() const { return menu_.isVisible(); }

private:
    void fillMenu();
    void updateTexts();
    void run(MenuEntry::Action action);

    ShellActions& actions_;
    Source source_;
    ShellState shown_;
    QMenu menu_;
    std::vector<MenuEntry> entries_;
    QTimer clock_; ///< while the menu is open, for the time that is left
    std::unique_ptr<QSystemTrayIcon> icon_;
};

} // namespace varnel
