#pragma once

#include "base/EventLoop.h"
#include "base/LoopTasks.h"
#include "base/UniqueFd.h"

#include <poll.h>

#include <vector>

namespace varnel {

/// The loop of programs without windows: poll(2), woken by a pipe, asleep as long as nothing is due.
class PollEventLoop : public EventLoop {
public:
    PollEventLoop();
    ~PollEventLoop() override;
    [[nodiscard]] TimePoint now() const override;
    void post(Task task) override;
    [[nodiscard]] Subscription after(Duration delay, Task task) override;
    [[nodiscard]] Subscription watchReadable(int descriptor, Task task) override;
    [[nodiscard]] Subscription observe(Phase phase, Task task) override;
    void run() override;
    void quit() override;

private:
    void runPosted();
    void runTimers();
    void sleep();
    void rebuildPollList();
    void dispatchReadable();

    UniqueFd wakeRead_, wakeWrite_;
    PostedTasks posted_;
    TimerQueue timers_;
    CallbackList watches_, observers_;
    std::vector<std::shared_ptr<CallbackList::Entry>>
        polled_; ///< parallel to `pollList_` after its first entry
    std::vector<pollfd> pollList_;
    bool watchesChanged_ = true;
    bool quit_ = false;
};

} // namespace varnel
