#include "app/linux/BusSessionWatch.h"

#include "app/QtText.h"
#include "app/linux/SessionBus.h"
#include "base/Localized.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QThreadPool>

#include <unistd.h>

namespace varnel {

namespace {

const QString kLogin = QStringLiteral("org.freedesktop.login1");
const QString kLoginPath = QStringLiteral("/org/freedesktop/login1");
const QString kManager = QStringLiteral("org.freedesktop.login1.Manager");
const QString kSession = QStringLiteral("org.freedesktop.login1.Session");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const char* const kScreenSavers[] = {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver",
                                     "org.xfce.ScreenSaver", "org.mate.ScreenSaver",
                                     "org.cinnamon.ScreenSaver"};

QDBusMessage managerCall(const char* method) {
    return QDBusMessage::createMethodCall(kLogin, kLoginPath, kManager, QLatin1String(method));
}

} // namespace

BusSessionWatch::BusSessionWatch(EventLoop& loop)
    : loop_(loop) {}

BusSessionWatch::~BusSessionWatch() = default;

void BusSessionWatch::start(std::function<void(SessionEvent)> observer) {
    observer_ = std::move(observer);
    // Connecting waits for the bus, so somebody else does it.
    QThreadPool::globalInstance()->start([this, alive = std::weak_ptr(alive_), &loop = loop_] {
        QDBusConnection bus = QDBusConnection::systemBus();
        if (hasSessionBus())
            (void)QDBusConnection::sessionBus();
        if (bus.isConnected())
            loop.post([this, alive, bus] {
                if (alive.expired())
                    return;
                system_ = bus;
                connected();
            });
    });
}

void BusSessionWatch::connected() {
    system_->connect(kLogin, kLoginPath, kManager, QStringLiteral("PrepareForSleep"), this,
                     SLOT(prepareForSleep(bool)));
    delaySleep();
    findSession();
    if (!hasSessionBus())
        return;
    QDBusConnection session = QDBusConnection::sessionBus();
    for (const char* interface : kScreenSavers)
        session.connect({}, {}, QLatin1String(interface), QStringLiteral("ActiveChanged"), this,
                        SLOT(screenSaverChanged(bool)));
}

void BusSessionWatch::findSession() {
    const QString id = qEnvironmentVariable("XDG_SESSION_ID");
    QDBusMessage call = managerCall(id.isEmpty() ? "GetSessionByPID" : "GetSession");
    call << (id.isEmpty() ? QVariant(static_cast<uint>(::getpid())) : QVariant(id));
    auto* waiting = new QDBusPendingCallWatcher(system_->asyncCall(call), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this, [this, waiting] {
        const QDBusPendingReply<QDBusObjectPath> reply = *waiting;
        waiting->deleteLater();
        if (reply.isValid())
            followSession(reply.value().path());
    });
}

void BusSessionWatch::followSession(const QString& path) {
    system_->connect(kLogin, path, kSession, QStringLiteral("Lock"), this, SLOT(lockRequested()));
    system_->connect(kLogin, path, kSession, QStringLiteral("Unlock"), this, SLOT(unlocked()));
    system_->connect(kLogin, path, kProperties, QStringLiteral("PropertiesChanged"), this,
                     SLOT(sessionChanged(QString, QVariantMap, QStringList)));
}

void BusSessionWatch::delaySleep() {
    QDBusMessage call = managerCall("Inhibit");
    call << QStringLiteral("sleep") << QStringLiteral("Varnel!")
         << qtText(localized("Lets go of the keyboard")) << QStringLiteral("delay");
    auto* waiting = new QDBusPendingCallWatcher(system_->asyncCall(call), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this, [this, waiting] {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *waiting;
        waiting->deleteLater();
        if (reply.isValid())
            sleepDelay_ = reply.value();
    });
}

void BusSessionWatch::prepareForSleep(bool isFallingAsleep) {
    tell(isFallingAsleep ? SessionEvent::fallingAsleep : SessionEvent::awake);
    if (!isFallingAsleep)
        return delaySleep();
    // In a later turn: by then the keyboard server has been told too.
    loop_.post([this, alive = std::weak_ptr(alive_)] {
        if (!alive.expired())
            sleepDelay_ = {};
    });
}

void BusSessionWatch::lockRequested() {
    tell(SessionEvent::lockRequested);
}

void BusSessionWatch::unlocked() {
    tell(SessionEvent::unlocked);
}

void BusSessionWatch::sessionChanged(const QString& interface, const QVariantMap& changed,
                                     const QStringList&) {
    const auto hint = changed.constFind(QStringLiteral("LockedHint"));
    if (interface == kSession && hint != changed.constEnd())
        tell(hint->toBool() ? SessionEvent::locked : SessionEvent::unlocked);
}

void BusSessionWatch::screenSaverChanged(bool isActive) {
    tell(isActive ? SessionEvent::screenSaverOn : SessionEvent::screenSaverOff);
}

void BusSessionWatch::tell(SessionEvent event) {
    if (observer_)
        observer_(event);
}

} // namespace varnel
