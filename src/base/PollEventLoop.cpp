#include "base/PollEventLoop.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>

namespace varnel {

namespace {

int millisecondsUntil(TimePoint deadline, TimePoint now) {
    if (deadline <= now)
        return 0;
    // Rounded up: a timer must not fire early.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - now).count();
    return static_cast<int>(std::min<long long>(left, INT_MAX));
}

} // namespace

PollEventLoop::PollEventLoop() {
    int ends[2];
    if (pipe(ends) != 0)
        std::abort(); // no descriptors left at the start of the program
    wakeRead_.reset(ends[0]);
    wakeWrite_.reset(ends[1]);
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    watches_.onChange([this] { watchesChanged_ = true; });
}

PollEventLoop::~PollEventLoop() {
    watches_.onChange(nullptr);
}

TimePoint PollEventLoop::now() const {
    return std::chrono::steady_clock::now();
}

void PollEventLoop::post(Task task) {
    if (!posted_.add(std::move(task)))
        return;
    // A full pipe wakes the loop as well.
    while (write(wakeWrite_.get(), "", 1) < 0 && errno == EINTR) {
    }
}

Subscription PollEventLoop::after(Duration delay, Task task) {
    return timers_.add(now() + std::max(delay, Duration::zero()), std::move(task));
}

Subscription PollEventLoop::watchReadable(int descriptor, Task task) {
    return watches_.add(descriptor, std::move(task));
}

Subscription PollEventLoop::observe(Phase phase, Task task) {
    return observers_.add(static_cast<int>(phase), std::move(task));
}

void PollEventLoop::run() {
    while (!quit_) {
        runPosted();
        runTimers();
        if (!quit_)
            sleep();
        if (!quit_)
            dispatchReadable();
    }
    quit_ = false;
}

void PollEventLoop::quit() {
    quit_ = true;
}

void PollEventLoop::runPosted() {
    for (std::size_t left = posted_.size(); left > 0 && !quit_; --left)
        posted_.takeFirst()();
}

void PollEventLoop::runTimers() {
    const auto mark = timers_.mark();
    while (!quit_) {
        const Task task = timers_.takeDue(now(), mark);
        if (!task)
            return;
        task();
    }
}

void PollEventLoop::sleep() {
    const auto timeout = [this] {
        if (!posted_.empty())
            return 0;
        const auto deadline = timers_.nextDeadline();
        return deadline ? millisecondsUntil(*deadline, now()) : -1;
    };
    const bool sleeps = timeout() != 0;
    if (sleeps) {
        observers_.call(static_cast<int>(Phase::beforeSleep));
        if (quit_)
            return;
    }
    if (watchesChanged_)
        rebuildPollList();
    if (poll(pollList_.data(), pollList_.size(), timeout()) < 0)
        for (pollfd& entry : pollList_) // interrupted by a signal: nothing is known
            entry.revents = 0;
    if (sleeps)
        observers_.call(static_cast<int>(Phase::afterWake));
}

void PollEventLoop::rebuildPollList() {
    watchesChanged_ = false;
    polled_ = watches_.snapshot();
    pollList_.assign(1, pollfd{wakeRead_.get(), POLLIN, 0});
    for (const auto& watch : polled_)
        pollList_.push_back(pollfd{watch->tag, POLLIN, 0});
}

void PollEventLoop::dispatchReadable() {
    if (pollList_.empty())
        return;
    if (pollList_[0].revents != 0) {
        char drained[64];
        while (read(wakeRead_.get(), drained, sizeof drained) > 0) {
        }
    }
    for (std::size_t i = 0; i < polled_.size() && !quit_; ++i) {
        pollfd& entry = pollList_[i + 1];
        if (entry.revents & POLLNVAL)
            entry.fd = -1; // closed under its watch: polling it again would never sleep
        else if (entry.revents != 0 && polled_[i]->live)
            polled_[i]->task();
    }
}

} // namespace varnel
