#pragma once

#include "base/EventLoop.h"
#include "base/LoopTasks.h"

namespace varnel {

/// A loop whose clock stands at `TimePoint{}` until it is advanced. `post` may be called by any thread; the
/// tasks run inside `runPending`, `advance` and `run`.
class ManualEventLoop : public EventLoop {
public:
    [[nodiscard]] TimePoint now() const override { return now_; }
    void post(Task task) override;
    [[nodiscard]] Subscription after(Duration delay, Task task) override;
    /// Stored only: `fireReadable` calls it.
    [[nodiscard]] Subscription watchReadable(int descriptor, Task task) override;
    [[nodiscard]] Subscription observe(Phase phase, Task task) override;
    /// Runs what is posted and due, moving the clock from one timer to the next, until `quit` or until
    /// nothing is left.
    void run() override;
    void quit() override { quit_ = true; }

    /// Runs posted tasks and due timers until there are none at the present moment. Like `advance`, heeds no
    /// `quit`.
    void runPending();
    /// Moves the clock forward, stopping at every timer on the way; what is due at the end has run.
    void advance(Duration duration);
    /// Calls the watches of this descriptor, then runs what is pending. False when nothing watches it.
    bool fireReadable(int descriptor);
    /// When the next timer is due.
    [[nodiscard]] std::optional<TimePoint> nextDeadline() const { return timers_.nextDeadline(); }

private:
    TimePoint now_{};
    PostedTasks posted_;
    TimerQueue timers_;
    CallbackList watches_, observers_;
    bool running_ = false;
    bool quit_ = false;
};

} // namespace varnel
