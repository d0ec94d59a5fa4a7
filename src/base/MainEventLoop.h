#pragma once

#include "base/EventLoop.h"

#include <memory>

namespace varnel {

/// The loop for the main thread of a program without windows: on macOS the system's run loop, else poll(2).
std::unique_ptr<EventLoop> makeMainEventLoop();

} // namespace varnel
