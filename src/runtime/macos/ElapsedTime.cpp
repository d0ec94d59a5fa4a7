#include "runtime/Pause.h"

#include <ctime>

namespace varnel {

Duration elapsedWithSleep() {
    // There, the monotonic clock goes on while the computer sleeps.
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace varnel
