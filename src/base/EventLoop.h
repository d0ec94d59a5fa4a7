#pragma once

#include "base/Subscription.h"
#include "base/TimePoint.h"

#include <functional>

namespace varnel {

/// The main thread's event loop. Implementations: `PollEventLoop` (poll), `QtEventLoop` (in the application with
/// windows) and `ManualEventLoop` (a clock that only tests and `varnel simulate` move). All callbacks run on the
/// thread that runs the loop, never inside the call that registers them. Everything but `post` belongs to that
/// thread. A subscription may be dropped inside any callback, its own included.
class EventLoop {
public:
    using Task = std::function<void()>;
    virtual ~EventLoop() = default;

    [[nodiscard]] virtual TimePoint now() const = 0;

    /// Runs `task` in a later turn, in the order of posting. Any thread; tasks still waiting when the loop is
    /// destroyed are dropped.
    virtual void post(Task task) = 0;

    /// Runs `task` once, not before `delay` has passed; precise to a millisecond. Timers fire in the order of
    /// their deadlines, equal ones in the order of registration. Dropping the result cancels.
    [[nodiscard]] virtual Subscription after(Duration delay, Task task) = 0;

    /// Calls `task` whenever `descriptor` is readable or hung up (level-triggered). Dropping the result ends it;
    /// the descriptor must stay open until then.
    [[nodiscard]] virtual Subscription watchReadable(int descriptor, Task task) = 0;

    enum class Phase {
        beforeSleep, ///< the loop is about to wait: drain queues that other calls may have filled
        afterWake,   ///< the loop has just stopped waiting
    };
    /// Calls `task` at each such moment. A `beforeSleep` task may post or register; the loop then does not sleep.
    [[nodiscard]] virtual Subscription observe(Phase phase, Task task) = 0;

    /// Runs until `quit`. A `quit` before `run` makes the next `run` return at once.
    virtual void run() = 0;
    virtual void quit() = 0;
};

} // namespace varnel
