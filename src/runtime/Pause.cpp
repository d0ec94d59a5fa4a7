#include "runtime/Pause.h"

#include "runtime/Health.h"

#include <algorithm>
#include <utility>

namespace varnel {

Pause::Pause(Surroundings surroundings)
    : surroundings_(std::move(surroundings)) {}

void Pause::begin(std::optional<Duration> length) {
    isOn_ = true;
    deadline_ = length ? std::optional(surroundings_.elapsed() + *length) : std::nullopt;
    arm();
    surroundings_.suspend(true);
    observers_.call(0);
}

void Pause::end() {
    if (!isOn_)
        return;
    forget();
    surroundings_.suspend(false);
    observers_.call(0);
}

std::optional<Duration> Pause::left() const {
    if (!deadline_)
        return std::nullopt;
    return std::max(Duration::zero(), *deadline_ - surroundings_.elapsed());
}

void Pause::noticeReasons(const std::set<std::string>& reasons) {
    const bool inForce = reasons.contains(kPauseReason);
    if (inForce == isOn_)
        return;
    forget();
    isOn_ = inForce;
    observers_.call(0);
}

void Pause::noticeTime() {
    if (deadline_)
        arm();
}

Subscription Pause::observe(std::function<void()> observer) {
    return observers_.add(0, std::move(observer));
}

void Pause::forget() {
    isOn_ = false;
    deadline_.reset();
    timer_.reset();
}

void Pause::arm() {
    timer_.reset();
    const auto rest = left();
    if (!rest)
        return;
    timer_ = surroundings_.loop.after(*rest, [this] {
        if (left() == Duration::zero())
            end();
        else
            arm();
    });
}

} // namespace varnel
