#include "base/ManualEventLoop.h"

#include <algorithm>
#include <utility>

namespace varnel {

void ManualEventLoop::post(Task task) {
    posted_.add(std::move(task));
}

Subscription ManualEventLoop::after(Duration delay, Task task) {
    return timers_.add(now_ + std::max(delay, Duration::zero()), std::move(task));
}

Subscription ManualEventLoop::watchReadable(int descriptor, Task task) {
    return watches_.add(descriptor, std::move(task));
}

Subscription ManualEventLoop::observe(Phase phase, Task task) {
    return observers_.add(static_cast<int>(phase), std::move(task));
}

void ManualEventLoop::runPending() {
    while (!(running_ && quit_)) {
        Task task = posted_.takeFirst();
        if (!task)
            task = timers_.takeDue(now_, timers_.mark());
        if (!task) {
            observers_.call(static_cast<int>(Phase::beforeSleep));
            if (posted_.empty() && timers_.nextDeadline().value_or(TimePoint::max()) > now_)
                return;
            continue;
        }
        task();
    }
}

void ManualEventLoop::advance(Duration duration) {
    const TimePoint end = now_ + duration;
    runPending();
    for (auto next = timers_.nextDeadline(); next && *next <= end; next = timers_.nextDeadline()) {
        now_ = std::max(now_, *next);
        observers_.call(static_cast<int>(Phase::afterWake));
        runPending();
    }
    now_ = std::max(now_, end);
}

bool ManualEventLoop::fireReadable(int descriptor) {
    bool found = false;
    for (const auto& watch : watches_.snapshot()) {
        if (watch->live && watch->tag == descriptor) {
            found = true;
            watch->task();
        }
    }
    runPending();
    return found;
}

void ManualEventLoop::run() {
    running_ = true;
    while (!quit_) {
        runPending();
        const auto next = timers_.nextDeadline();
        if (quit_ || !next)
            break;
        now_ = std::max(now_, *next);
        observers_.call(static_cast<int>(Phase::afterWake));
    }
    running_ = quit_ = false;
}

} // namespace varnel
