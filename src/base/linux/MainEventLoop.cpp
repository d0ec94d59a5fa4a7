#include "base/MainEventLoop.h"

#include "base/PollEventLoop.h"

namespace varnel {

std::unique_ptr<EventLoop> makeMainEventLoop() {
    return std::make_unique<PollEventLoop>();
}

} // namespace varnel
