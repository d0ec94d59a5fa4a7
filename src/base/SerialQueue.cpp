#include "base/SerialQueue.h"

#include "base/Platform.h"

#include <utility>

namespace varnel {

SerialQueue::SerialQueue(std::string label)
    : label_(std::move(label)) {}

SerialQueue::~SerialQueue() {
    std::deque<std::function<void()>> dropped; // destroyed without the lock: a task may own anything
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        dropped.swap(tasks_);
    }
    wake_.notify_one();
    if (thread_.joinable())
        thread_.join();
}

void SerialQueue::submit(std::function<void()> task) {
    {
        const std::lock_guard lock(mutex_);
        if (stopping_)
            return;
        tasks_.push_back(std::move(task));
        if (!thread_.joinable())
            thread_ = std::thread([this] { work(); });
    }
    wake_.notify_one();
}

void SerialQueue::work() {
    nameThisThread(label_);
    while (true) {
        std::function<void()> task;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
            if (stopping_)
                return;
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task();
    }
}

} // namespace varnel
