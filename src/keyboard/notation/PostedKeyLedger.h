#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>

namespace varnel {

/// Remembers the key events that the program itself is about to post, so that its own tap lets them through
/// and never matches them against triggers. The system hands them back in the order of posting and without
/// any mark of their origin. What has not come back after two seconds never will. Any thread.
class PostedKeyLedger {
public:
    /// To be held while keys are being posted, until the system has handled them all. The tap then keeps the
    /// keyboard no longer than it must.
    class Posting {
    public:
        explicit Posting(PostedKeyLedger& ledger)
            : ledger_(ledger) {
            const std::lock_guard lock(ledger_.postingMutex_);
            ++ledger_.begun_;
            ++ledger_.underWay_;
        }
        ~Posting() { --ledger_.underWay_; }
        Posting(const Posting&) = delete;
        Posting& operator=(const Posting&) = delete;

    private:
        PostedKeyLedger& ledger_;
    };

    [[nodiscard]] bool isPosting() const { return underWay_ != 0; }
    [[nodiscard]] std::uint64_t postingsBegun() const { return begun_; }

    /// Calls `work` if nobody posts now nor has since `begun`, and lets nobody begin meanwhile.
    template <typename Work>
    bool unlessPostingSince(std::uint64_t begun, Work work) {
        const std::lock_guard lock(postingMutex_);
        if (underWay_ != 0 || begun_ != begun)
            return false;
        work();
        return true;
    }

    /// A key as the system numbers it (an X11 key code, not a macOS one).
    struct Entry {
        std::uint8_t key = 0;
        bool isPress = false;
        friend bool operator==(const Entry&, const Entry&) = default;
    };

    /// To be called before the event is handed to the system.
    void push(Entry entry) {
        const std::lock_guard lock(mutex_);
        forgetLapsed();
        if (entries_.size() < kMaximum)
            entries_.push_back({entry, Clock::now()});
    }

    /// Whether `entry` is one of ours; it and everything posted before it is then forgotten (events that no
    /// tap wanted to see never come back).
    bool take(Entry entry) {
        const std::lock_guard lock(mutex_);
        forgetLapsed();
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            if (entries_[i].entry == entry) {
                entries_.erase(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(i) + 1);
                return true;
            }
        }
        return false;
    }

    /// How much was ever pushed is not known, only what may still come back.
    [[nodiscard]] std::size_t size() const {
        const std::lock_guard lock(mutex_);
        return entries_.size();
    }

    /// To be called by whoever posted, once a round trip through the system has shown that all of it was
    /// handled.
    void clear() {
        const std::lock_guard lock(mutex_);
        entries_.clear();
    }

private:
    using Clock = std::chrono::steady_clock;
    struct Posted {
        Entry entry;
        Clock::time_point time;
    };

    void forgetLapsed() {
        while (!entries_.empty() && Clock::now() - entries_.front().time > kLapse)
            entries_.pop_front();
    }

    static constexpr std::size_t kMaximum = 4096;
    static constexpr std::chrono::seconds kLapse{2};
    mutable std::mutex mutex_;
    std::deque<Posted> entries_;

    std::mutex postingMutex_;
    std::atomic<std::uint64_t> begun_{0};
    std::atomic<int> underWay_{0};
};

} // namespace varnel
