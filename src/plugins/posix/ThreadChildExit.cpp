#include "plugins/ProcessSystem.h"

#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace varnel {

namespace {

/// Shared with the waiting thread, which may outlive the watch.
struct Outcome {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<std::expected<int, int>> result;
};

class ThreadChildExit : public ChildExit {
public:
    explicit ThreadChildExit(pid_t child) {
        try {
            std::thread(wait, child, outcome_).detach();
        } catch (const std::system_error& error) {
            // A child that cannot be watched must not stay.
            ::kill(child, SIGKILL);
            wait(child, outcome_);
            outcome_->result = std::unexpected(error.code().value());
        }
    }
    bool waitUntil(TimePoint deadline) override {
        std::unique_lock lock(outcome_->mutex);
        return outcome_->changed.wait_until(lock, deadline, [&] { return outcome_->result.has_value(); });
    }

    std::expected<int, int> collect() override {
        std::lock_guard lock(outcome_->mutex);
        return outcome_->result.value_or(std::unexpected(ECHILD));
    }

private:
    static void wait(pid_t child, const std::shared_ptr<Outcome>& outcome) {
        int status = 0;
        pid_t reaped;
        do
            reaped = ::waitpid(child, &status, 0);
        while (reaped < 0 && errno == EINTR);
        std::lock_guard lock(outcome->mutex);
        if (reaped == child)
            outcome->result = status;
        else
            outcome->result = std::unexpected(errno);
        outcome->changed.notify_all();
    }

    std::shared_ptr<Outcome> outcome_ = std::make_shared<Outcome>();
};

} // namespace

std::unique_ptr<ChildExit> watchChildExitByThread(pid_t child) {
    return std::make_unique<ThreadChildExit>(child);
}

} // namespace varnel
