#include "app/linux/PanelWatch.h"

#include "app/linux/SessionBus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusServiceWatcher>

#include <unistd.h>

namespace varnel {

bool hasSessionBus() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    return !folder.isEmpty() && ::access((folder + "/bus").constData(), F_OK) == 0;
}

void watchForPanel(std::function<void()> appeared) {
    if (!hasSessionBus())
        return;
    auto* watcher = new QDBusServiceWatcher(QStringLiteral("org.kde.StatusNotifierWatcher"),
                                            QDBusConnection::sessionBus(),
                                            QDBusServiceWatcher::WatchForRegistration, qApp);
    QObject::connect(watcher, &QDBusServiceWatcher::serviceRegistered, watcher,
                     [appeared = std::move(appeared)] { appeared(); });
}

} // namespace varnel
