#pragma once

#include "base/UniqueFd.h"

#include <atomic>
#include <functional>
#include <thread>

namespace varnel {

/// A thread that notices when the main thread does not come back while something waits for it. Sleeps without
/// any wake-up while the main thread sleeps.
class StallWatchdog {
public:
    /// `isWaited` says whether something waits for the main thread right now; `release` ends that by force.
    /// Both run on the watchdog's thread, `release` once what waits has waited for about 0.8 s, and again
    /// should that not have helped.
    StallWatchdog(std::function<bool()> isWaited, std::function<void()> release);
    /// Joins the thread; none of the functions runs afterwards.
    ~StallWatchdog();
    StallWatchdog(const StallWatchdog&) = delete;
    StallWatchdog& operator=(const StallWatchdog&) = delete;

    /// The main thread has woken up, and is about to sleep. Two of these cost two short system calls.
    void workBegins();
    void workEnds();

private:
    void watch();

    std::function<bool()> isWaited_;
    std::function<void()> release_;
    UniqueFd timer_;
    std::atomic<bool> stops_{false};
    std::thread thread_;
};

} // namespace varnel
