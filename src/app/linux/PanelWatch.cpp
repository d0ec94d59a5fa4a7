#include "app/linux/PanelWatch.h"

#include "app/linux/SessionBus.h"
#include "app/x11/TrayHost.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QTimer>

#include <unistd.h>

namespace varnel {

namespace {

constexpr int kLookMilliseconds = 500;
constexpr int kLooks = 40;

bool hasPanel() {
    const QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return hasTrayHost() ||
           (bus && bus->isServiceRegistered(QStringLiteral("org.kde.StatusNotifierWatcher")));
}

} // namespace

bool hasSessionBus() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    return !folder.isEmpty() && ::access((folder + "/bus").constData(), F_OK) == 0;
}

void whenPanelIsReady(std::function<void()> ready) {
    if (!hasSessionBus() || hasPanel())
        return ready();
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, ready = std::move(ready), looks = 0]() mutable {
        if (++looks < kLooks && !hasPanel())
            return;
        timer->stop();
        timer->deleteLater();
        ready();
    });
    timer->start(kLookMilliseconds);
}

} // namespace varnel
