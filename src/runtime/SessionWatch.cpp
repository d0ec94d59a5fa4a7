#include "runtime/SessionWatch.h"

#include "runtime/Health.h"

#include <utility>

namespace varnel {

namespace {

/// A locker has certainly taken the keyboard by then, if there is one.
constexpr Duration kFirstLook = 3s;
constexpr Duration kNextLook = 2s;

} // namespace

SessionGuard::SessionGuard(Surroundings surroundings)
    : surroundings_(std::move(surroundings)) {}

void SessionGuard::handle(SessionEvent event) {
    switch (event) {
    case SessionEvent::lockRequested:
        if (lock_ != Lock::none)
            return;
        lock_ = Lock::requested;
        surroundings_.suspend(kLockedReason, true);
        look_ = surroundings_.loop.after(kFirstLook, [this] { lookAgain(); });
        return;
    case SessionEvent::locked:
        return lock(Lock::known);
    case SessionEvent::unlocked:
        return unlock();
    case SessionEvent::screenSaverOn:
        return lock(lock_ == Lock::known ? Lock::known : Lock::screenSaver);
    case SessionEvent::screenSaverOff:
        return lock_ == Lock::screenSaver ? unlock() : void();
    case SessionEvent::fallingAsleep:
        return surroundings_.suspend(kAsleepReason, true);
    case SessionEvent::awake:
        surroundings_.suspend(kAsleepReason, false);
        return surroundings_.cameBack();
    }
}

void SessionGuard::lock(Lock lock) {
    lock_ = lock;
    look_.reset();
    surroundings_.suspend(kLockedReason, true);
}

void SessionGuard::unlock() {
    if (lock_ == Lock::none)
        return;
    lock_ = Lock::none;
    look_.reset();
    surroundings_.suspend(kLockedReason, false);
    surroundings_.cameBack();
}

void SessionGuard::lookAgain() {
    if (!surroundings_.isKeyboardHeldElsewhere())
        return unlock();
    look_ = surroundings_.loop.after(kNextLook, [this] { lookAgain(); });
}

} // namespace varnel
