#pragma once

#include "base/EventLoop.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace varnel {

/// The parts that the event loops share. Their subscriptions may outlive them.

/// Tasks waiting for a moment. Main thread.
class TimerQueue {
public:
    TimerQueue();
    ~TimerQueue();
    [[nodiscard]] Subscription add(TimePoint deadline, EventLoop::Task task);
    [[nodiscard]] std::optional<TimePoint> nextDeadline() const;
    /// Takes the earliest task that is due at `now` and was registered before `mark` was taken.
    EventLoop::Task takeDue(TimePoint now, std::uint64_t mark);
    [[nodiscard]] std::uint64_t mark() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

/// Callbacks that are called again and again, each with an integer (a descriptor or a phase). Main thread.
class CallbackList {
public:
    struct Entry {
        int tag;
        EventLoop::Task task;
        bool live = true;
    };
    CallbackList();
    ~CallbackList();
    /// `changed` is called when an entry comes or goes.
    void onChange(std::function<void()> changed);
    [[nodiscard]] Subscription add(int tag, EventLoop::Task task);
    /// The entries that live now, in the order of registration. Check `live` before each call.
    [[nodiscard]] std::vector<std::shared_ptr<Entry>> snapshot() const;
    /// Calls the live entries with this tag.
    void call(int tag);

private:
    struct State;
    std::shared_ptr<State> state_;
};

/// Tasks handed over by any thread.
class PostedTasks {
public:
    /// True when the queue was empty, so that the loop must be woken.
    bool add(EventLoop::Task task);
    [[nodiscard]] bool empty() const;
    /// Null when there is none.
    EventLoop::Task takeFirst();
    [[nodiscard]] std::size_t size() const;

private:
    mutable std::mutex mutex_;
    std::deque<EventLoop::Task> tasks_;
};

} // namespace varnel
