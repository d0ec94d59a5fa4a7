#pragma once

#include "runtime/SessionWatch.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QVariantMap>

#include <optional>

namespace varnel {

/// Hears of the session from the login manager (lock, unlock, sleep) and from the desktop's screen saver,
/// over D-Bus. Waits for neither: without them it is silent. Sleep is delayed until capturing has ended. Main
/// thread.
class BusSessionWatch final : public QObject, public SessionWatching {
    Q_OBJECT
public:
    /// The loop must outlive the watch.
    explicit BusSessionWatch(EventLoop& loop);
    ~BusSessionWatch() override;
    void start(std::function<void(SessionEvent)> observer) override;

private slots:
    void lockRequested();
    void unlocked();
    void prepareForSleep(bool isFallingAsleep);
    void sessionChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated);
    void screenSaverChanged(bool isActive);

private:
    void connected();
    void findSession();
    void followSession(const QString& path);
    void delaySleep();
    void tell(SessionEvent event);

    EventLoop& loop_;
    std::function<void(SessionEvent)> observer_;
    std::optional<QDBusConnection> system_;
    QDBusUnixFileDescriptor sleepDelay_; ///< the computer does not fall asleep while this is open
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

} // namespace varnel
