#pragma once

#include <chrono>

namespace varnel {

using Duration = std::chrono::nanoseconds;
/// A moment on the steady clock of the event loop in use (a test's loop starts at 0).
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;

using namespace std::chrono_literals;

/// Seconds as the rules that count in seconds want them.
inline double seconds(Duration d) { return std::chrono::duration<double>(d).count(); }
inline Duration fromSeconds(double s) {
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(s));
}

} // namespace varnel
