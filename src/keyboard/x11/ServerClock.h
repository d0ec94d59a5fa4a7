#pragma once

#include "base/TimePoint.h"

#include <algorithm>
#include <cstdint>

namespace varnel {

/// Translates the server's event times (milliseconds in 32 bits, which wrap) to the loop's clock, so that the
/// time between two events is the one between two movements of a finger, however late we read them.
class ServerClock {
public:
    /// `now` is when the event was read. Answers never lie after `now`, and never before an earlier answer.
    TimePoint translate(std::uint32_t serverTime, TimePoint now) {
        if (!started_)
            extended_ = serverTime;
        else
            extended_ += static_cast<std::int32_t>(serverTime - static_cast<std::uint32_t>(extended_));
        const Duration server = std::chrono::milliseconds(extended_);
        const Duration offset = now.time_since_epoch() - server;
        // The event that was read with the least delay knows best; a jump means that a clock has stood still.
        if (!started_ || offset < offset_ || offset > offset_ + kJump)
            offset_ = offset;
        started_ = true;
        last_ = std::max(last_, std::min(now, TimePoint(server + offset_)));
        return last_;
    }

private:
    static constexpr Duration kJump = std::chrono::seconds(10);
    bool started_ = false;
    std::int64_t extended_ = 0;
    Duration offset_{};
    TimePoint last_{};
};

} // namespace varnel
