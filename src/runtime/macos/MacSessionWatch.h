#pragma once

#include "base/EventLoop.h"
#include "runtime/SessionWatch.h"

#include <memory>

namespace varnel {

/// The notices of the workspace and of the screen's lock. Nobody waits for us: the system sleeps when it wants.
class MacSessionWatch final : public SessionWatching {
public:
    /// `loop` must outlive the watch.
    explicit MacSessionWatch(EventLoop& loop);
    ~MacSessionWatch() override;
    void start(std::function<void(SessionEvent)> observer) override;

private:
    struct Native;
    EventLoop& loop_;
    std::unique_ptr<Native> native_;
};

} // namespace varnel
