#pragma once

#include "base/EventLoop.h"
#include "keyboard/KeyboardMonitoring.h"

#include <functional>
#include <memory>

namespace varnel {

/// Captures the keyboard through a tap session, turns events into tokens, offers them to a handler and
/// swallows what the handler consumes. Can be told to swallow everything for a while. Panic keys come before
/// all of that.
///
/// An auto-repeat is never offered: it gets the verdict of the press that it repeats. Times are those of the
/// events; the loop's clock counts only outside of them. The handler may stop, restart or destroy the monitor
/// from inside its call. Main thread only.
class KeyboardMonitor : public KeyboardMonitoring {
public:
    /// `loop` and `eventTapFactory` must outlive the monitor; `tapThreshold` is asked at each release of a
    /// modifier.
    KeyboardMonitor(EventLoop& loop, KeyboardEventTapSessionCreating& eventTapFactory,
                    std::function<Duration()> tapThreshold, KeyTokenHandler handler);
    ~KeyboardMonitor() override;

    bool start() override;
    void stop() override;
    void suppress(std::optional<Duration> duration) override;
    void endSuppression() override;
    void setInterest(const KeyInterest& interest) override;
    void setNotices(KeyboardNotices notices) override;
    [[nodiscard]] std::string trouble() const override;
    [[nodiscard]] bool isKeyboardHeldElsewhere() const override;

private:
    struct Core;
    KeyboardEventTapSessionCreating& eventTapFactory_;
    std::shared_ptr<Core> core_;
};

/// Makes monitors over one kind of tap.
class KeyboardMonitorFactory : public KeyboardMonitorCreating {
public:
    /// All must outlive the factory and its monitors.
    KeyboardMonitorFactory(EventLoop& loop, KeyboardEventTapSessionCreating& eventTapFactory,
                           std::function<Duration()> tapThreshold);
    std::unique_ptr<KeyboardMonitoring> createMonitor(KeyTokenHandler handler) override;

private:
    EventLoop& loop_;
    KeyboardEventTapSessionCreating& eventTapFactory_;
    std::function<Duration()> tapThreshold_;
};

} // namespace varnel
