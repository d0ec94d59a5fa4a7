#include "runtime/Pause.h"

#include <ctime>

namespace varnel {

Duration elapsedWithSleep() {
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace varnel
