#pragma once

#include "base/EventLoop.h"
#include "base/Subscription.h"

#include <functional>
#include <memory>
#include <string>

namespace varnel {

/// What happens to the user's session.
enum class SessionEvent {
    lockRequested, ///< a locker was asked to lock; whether one does is not known
    locked,        ///< known to be locked
    unlocked,
    screenSaverOn,
    screenSaverOff, ///< the session may still be locked
    fallingAsleep,  ///< the computer sleeps as soon as everybody has got ready
    awake,
};

/// Hears of the session from the system. Main thread.
class SessionWatching {
public:
    virtual ~SessionWatching() = default;
    /// Called for each event in its own turn of the loop. After `fallingAsleep` the system waits for what the
    /// observer did in its call, as long as it lets itself be delayed.
    virtual void start(std::function<void(SessionEvent)> observer) = 0;
};

/// Ends capturing before the screen locks or the computer sleeps, and takes it up again after. Main thread.
class SessionGuard {
public:
    struct Surroundings {
        EventLoop& loop;
        /// Suspends the engine for `reason` or resumes it; both may be repeated.
        std::function<void(const std::string& reason, bool suspended)> suspend;
        /// Whether another program has the keyboard to itself at this moment, as lockers do.
        std::function<bool()> isKeyboardHeldElsewhere;
        /// The computer has slept, or the screen was locked: clocks and devices may have changed.
        std::function<void()> cameBack;
    };
    explicit SessionGuard(Surroundings surroundings);

    void handle(SessionEvent event);
    [[nodiscard]] bool isLocked() const { return lock_ != Lock::none; }

private:
    enum class Lock { none, requested, screenSaver, known };
    void lock(Lock lock);
    void unlock();
    /// Some lockers never say that they are done, and some requests find no locker at all: then the keyboard
    /// itself tells.
    void lookAgain();

    Surroundings surroundings_;
    Lock lock_ = Lock::none;
    Subscription look_;
};

} // namespace varnel
