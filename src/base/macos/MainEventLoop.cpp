#include "base/MainEventLoop.h"

#include "base/macos/RunLoopEventLoop.h"

namespace varnel {

std::unique_ptr<EventLoop> makeMainEventLoop() {
    return std::make_unique<RunLoopEventLoop>();
}

} // namespace varnel
