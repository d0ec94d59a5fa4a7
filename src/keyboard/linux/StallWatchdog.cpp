#include "keyboard/StallWatchdog.h"

#include "base/TimePoint.h"

#include <cerrno>
#include <cstdint>

#include <pthread.h>
#include <signal.h>
#include <sys/timerfd.h>

namespace varnel {
namespace {

// Something that begins to wait right after a look is released after six intervals at the latest.
constexpr Duration kInterval = 140ms;
constexpr int kLooks = 6;

void setTimer(int timer, Duration first, Duration interval) {
    itimerspec times{};
    times.it_value.tv_nsec = static_cast<long>(first.count());
    times.it_interval.tv_nsec = static_cast<long>(interval.count());
    ::timerfd_settime(timer, 0, &times, nullptr);
}

} // namespace

StallWatchdog::StallWatchdog(std::function<bool()> isWaited, std::function<void()> release)
    : isWaited_(std::move(isWaited))
    , release_(std::move(release))
    , timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC)) {
    if (!timer_)
        return;
    // Signals are the main thread's business.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    thread_ = std::thread([this] { watch(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

StallWatchdog::~StallWatchdog() {
    if (!thread_.joinable())
        return;
    stops_ = true;
    setTimer(timer_.get(), std::chrono::nanoseconds(1), {});
    thread_.join();
}

void StallWatchdog::workBegins() {
    if (timer_)
        setTimer(timer_.get(), kInterval, kInterval);
}

void StallWatchdog::workEnds() {
    if (timer_)
        setTimer(timer_.get(), {}, {});
}

void StallWatchdog::watch() {
    int looks = 0;
    while (true) {
        std::uint64_t expirations = 0;
        const ssize_t got = ::read(timer_.get(), &expirations, sizeof expirations);
        if (stops_)
            return;
        if (got != sizeof expirations) {
            if (got < 0 && errno == EINTR)
                continue;
            return;
        }
        looks = isWaited_() ? looks + 1 : 0;
        if (looks < kLooks)
            continue;
        looks = 0;
        release_();
    }
}

} // namespace varnel
