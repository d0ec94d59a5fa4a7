#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace varnel {

/// Runs tasks one after another, in the order of submission, away from the caller's thread.
class SerialExecutor {
public:
    virtual ~SerialExecutor() = default;
    /// Any thread; returns at once.
    virtual void submit(std::function<void()> task) = 0;
};

/// One worker thread, started with the first task. Destroying it waits for the task that runs and drops the rest.
class SerialQueue : public SerialExecutor {
public:
    explicit SerialQueue(std::string label);
    ~SerialQueue() override;
    void submit(std::function<void()> task) override;

private:
    void work();

    std::string label_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> tasks_;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace varnel
