#pragma once

#include "base/Subscription.h"

#include <QMenu>
#include <QSystemTrayIcon>

namespace varnel {

class Application;

/// The application's icon in the system's tray: its state, and the few things that it can be told there.
class TrayIcon {
public:
    /// The application must outlive the icon.
    explicit TrayIcon(Application& application);

private:
    void update();
    void toggleSuspension();

    Application& application_;
    QMenu menu_;
    QAction* state_;
    QAction* suspension_;
    QSystemTrayIcon icon_;
    Subscription status_;
};

} // namespace varnel
