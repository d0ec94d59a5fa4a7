#pragma once

#include "base/EventLoop.h"
#include "base/LoopTasks.h"

#include <functional>
#include <optional>
#include <set>
#include <string>

namespace varnel {

/// The user's pause: nothing is captured for some minutes, or until told otherwise. Main thread.
class Pause {
public:
    struct Surroundings {
        EventLoop& loop;
        /// Puts `kPauseReason` in force or takes it back.
        std::function<void(bool)> suspend;
        /// Time that goes on while the computer sleeps, from any beginning.
        std::function<Duration()> elapsed;
    };
    explicit Pause(Surroundings surroundings);

    /// Takes the place of a pause that is on. Without a length it lasts until `end`.
    void begin(std::optional<Duration> length);
    void end();
    [[nodiscard]] bool isOn() const { return isOn_; }
    /// What is left of a pause that ends by itself.
    [[nodiscard]] std::optional<Duration> left() const;

    /// The reasons in force have changed: a pause that somebody else has ended is over, one that somebody
    /// else has begun lasts until `end`.
    void noticeReasons(const std::set<std::string>& reasons);
    /// The computer may have slept, and timers with it.
    void noticeTime();
    [[nodiscard]] Subscription observe(std::function<void()> observer);

private:
    void forget();
    void arm();

    Surroundings surroundings_;
    bool isOn_ = false;
    std::optional<Duration> deadline_; ///< on the clock of `elapsed`
    Subscription timer_;
    CallbackList observers_;
};

/// Time since the computer was started, sleep included.
Duration elapsedWithSleep();

} // namespace varnel
