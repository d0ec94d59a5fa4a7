#pragma once

#include "base/EventLoop.h"
#include "base/UniqueFd.h"

#include <functional>

namespace varnel {

/// Turns SIGHUP, SIGTERM and SIGINT into calls on the main thread, and has SIGPIPE ignored. Signals that come
/// between two turns of the loop are not lost. One at a time in a process.
class SignalWatch {
public:
    SignalWatch(EventLoop& loop, std::function<void(int signal)> received);
    /// The signals do what they do by default again.
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

private:
    void drain();

    std::function<void(int)> received_;
    UniqueFd readEnd_;
    UniqueFd writeEnd_;
    Subscription readable_;
};

} // namespace varnel
