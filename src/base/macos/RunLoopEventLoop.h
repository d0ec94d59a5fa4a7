#pragma once

#include "base/EventLoop.h"
#include "base/LoopTasks.h"

#include <map>
#include <memory>

namespace varnel {

/// The loop of programs without windows on macOS, where taps and notices of the system come through the main
/// run loop. Make and run it on the main thread.
class RunLoopEventLoop : public EventLoop {
public:
    RunLoopEventLoop();
    ~RunLoopEventLoop() override;
    RunLoopEventLoop(const RunLoopEventLoop&) = delete;
    RunLoopEventLoop& operator=(const RunLoopEventLoop&) = delete;
    [[nodiscard]] TimePoint now() const override;
    void post(Task task) override;
    [[nodiscard]] Subscription after(Duration delay, Task task) override;
    [[nodiscard]] Subscription watchReadable(int descriptor, Task task) override;
    [[nodiscard]] Subscription observe(Phase phase, Task task) override;
    void run() override;
    void quit() override;

private:
    struct Native;
    void runPosted();
    void runTimers();
    void armTimer();
    void updateWatches();

    PostedTasks posted_;
    TimerQueue timers_;
    CallbackList watches_, observers_;
    std::unique_ptr<Native> native_;
    bool quit_ = false;
};

} // namespace varnel
