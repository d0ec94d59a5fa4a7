#pragma once

#include <functional>
#include <utility>

namespace varnel {

/// Something that lasts as long as this value: a subscription, a timer, a watch. Destroying or resetting it ends
/// it; after that the callback is never called again. Movable, not copyable. Use on the thread that made it.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            cancel_ = std::exchange(other.cancel_, nullptr);
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { reset(); }

    void reset() {
        if (auto cancel = std::exchange(cancel_, nullptr))
            cancel();
    }
    explicit operator bool() const { return cancel_ != nullptr; }

private:
    std::function<void()> cancel_;
};

} // namespace varnel
