#include "base/LoopTasks.h"

#include <algorithm>

namespace varnel {

struct TimerQueue::State {
    /// Ordered by deadline, then by registration.
    std::map<std::pair<TimePoint, std::uint64_t>, EventLoop::Task> waiting;
    std::uint64_t registered = 0;
};

TimerQueue::TimerQueue()
    : state_(std::make_shared<State>()) {}
TimerQueue::~TimerQueue() = default;

Subscription TimerQueue::add(TimePoint deadline, EventLoop::Task task) {
    const auto key = std::pair(deadline, state_->registered++);
    state_->waiting.emplace(key, std::move(task));
    return Subscription([weak = std::weak_ptr(state_), key] {
        const auto state = weak.lock();
        if (!state)
            return;
        // The task is destroyed only after the map is whole again: it may own other timers.
        auto node = state->waiting.extract(key);
    });
}

std::optional<TimePoint> TimerQueue::nextDeadline() const {
    return state_->waiting.empty() ? std::nullopt : std::optional(state_->waiting.begin()->first.first);
}

EventLoop::Task TimerQueue::takeDue(TimePoint now, std::uint64_t mark) {
    for (auto it = state_->waiting.begin(); it != state_->waiting.end() && it->first.first <= now; ++it)
        if (it->first.second < mark)
            return std::move(state_->waiting.extract(it).mapped());
    return nullptr;
}

std::uint64_t TimerQueue::mark() const {
    return state_->registered;
}

struct CallbackList::State {
    std::vector<std::shared_ptr<Entry>> entries;
    std::function<void()> changed;

    void tellChange() const {
        if (changed)
            changed();
    }
};

CallbackList::CallbackList()
    : state_(std::make_shared<State>()) {}
CallbackList::~CallbackList() = default;

void CallbackList::onChange(std::function<void()> changed) {
    state_->changed = std::move(changed);
}

Subscription CallbackList::add(int tag, EventLoop::Task task) {
    auto entry = std::make_shared<Entry>(Entry{tag, std::move(task)});
    state_->entries.push_back(entry);
    state_->tellChange();
    return Subscription([weak = std::weak_ptr(state_), entry] {
        entry->live = false;
        if (const auto state = weak.lock()) {
            std::erase(state->entries, entry);
            state->tellChange();
        }
    });
}

std::vector<std::shared_ptr<CallbackList::Entry>> CallbackList::snapshot() const {
    return state_->entries;
}

void CallbackList::call(int tag) {
    if (state_->entries.empty())
        return;
    for (const auto& entry : snapshot())
        if (entry->live && entry->tag == tag)
            entry->task();
}

bool PostedTasks::add(EventLoop::Task task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    return tasks_.size() == 1;
}

bool PostedTasks::empty() const {
    return size() == 0;
}

std::size_t PostedTasks::size() const {
    const std::lock_guard lock(mutex_);
    return tasks_.size();
}

EventLoop::Task PostedTasks::takeFirst() {
    const std::lock_guard lock(mutex_);
    if (tasks_.empty())
        return nullptr;
    EventLoop::Task task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
}

} // namespace varnel
