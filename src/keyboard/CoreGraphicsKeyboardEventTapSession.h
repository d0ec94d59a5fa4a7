#pragma once

#include "keyboard/KeyboardMonitoring.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace varnel {

inline constexpr std::uint32_t kCGEventKeyDownType = 10;
inline constexpr std::uint32_t kCGEventFlagsChangedType = 12;
inline constexpr std::uint32_t kCGEventTapDisabledByTimeoutType = 0xFFFFFFFE;
inline constexpr std::uint32_t kCGEventTapDisabledByUserInputType = 0xFFFFFFFF;

/// An object of the system that only the table of functions understands.
using SystemObject = void*;

struct EventTapRequest {
    enum class Level : std::uint32_t { hid = 0, session = 1 } level = Level::hid;
    std::uint32_t placement = 0; ///< at the head
    std::uint32_t options = 0;   ///< an active filter
    std::uint64_t eventMask = 0;
};

/// Called for every event of a tap and for the notices of a disabled one (`event` must then not be looked
/// at).
using EventTapCallback = std::function<TapVerdict(std::uint32_t type, SystemObject event)>;

/// The system's functions for taps; one entry for each call.
struct EventTapFunctions {
    /// The tap's port, enabled, or null when refused. The callback stays alive as long as the port, and
    /// beyond when the port is released from inside a call.
    std::function<SystemObject(const EventTapRequest&, EventTapCallback)> createTap;
    std::function<SystemObject(SystemObject port)> createRunLoopSource; ///< null when it can't be made
    std::function<void(SystemObject source)> addToMainRunLoop;          ///< in the common modes
    std::function<void(SystemObject source)> removeFromMainRunLoop;
    std::function<void(SystemObject port, bool enabled)> enableTap;
    std::function<void(SystemObject port)> invalidatePort;
    std::function<void(SystemObject source)> releaseSource;
    std::function<void(SystemObject port)> releasePort;
    /// The application event made of a tap's event; none when it can't be converted.
    std::function<std::optional<KeyboardEvent>(SystemObject event)> applicationEvent;
    /// The process that posted the event; 0 for the hardware.
    std::function<std::int64_t(SystemObject event)> sourceProcess;
    std::int64_t ownProcess = 0;
    /// Whether the key is down on the hardware itself, whatever programs have posted; may be empty.
    std::function<bool(KeyCode)> isDownOnHardware = {};
};

/// An open tap with its run-loop source. Destroying it closes it.
class CoreGraphicsKeyboardEventTapSession : public KeyboardEventTapSession {
public:
    /// Where a tap's callback finds its session; null before the session exists and when it is gone.
    using Slot = std::shared_ptr<CoreGraphicsKeyboardEventTapSession*>;

    /// Takes over tap and source. `functions` must stay until the session is invalidated.
    CoreGraphicsKeyboardEventTapSession(const EventTapFunctions& functions, SystemObject eventTap,
                                        SystemObject runLoopSource, Slot slot);
    ~CoreGraphicsKeyboardEventTapSession() override;
    CoreGraphicsKeyboardEventTapSession(const CoreGraphicsKeyboardEventTapSession&) = delete;
    CoreGraphicsKeyboardEventTapSession& operator=(const CoreGraphicsKeyboardEventTapSession&) = delete;

    void enable() override;
    void invalidate() override;
    /// The tap sees every event anyway.
    void setInterest(const KeyInterest&) override {}
    [[nodiscard]] std::optional<PanicKeySet> panicKeysHeldByHand() const override;
    [[nodiscard]] bool isInvalidated() const { return isInvalidated_; }

private:
    const EventTapFunctions& functions_;
    SystemObject eventTap_;
    SystemObject runLoopSource_;
    Slot slot_;
    bool isInvalidated_ = false;
};

/// Taps at the hardware level, and where that is refused once more at the session's level. Keys that this
/// process posted itself pass and are only told of.
class CoreGraphicsKeyboardEventTapSessionFactory : public KeyboardEventTapSessionCreating {
public:
    /// The factory must outlive its sessions until they are invalidated.
    explicit CoreGraphicsKeyboardEventTapSessionFactory(EventTapFunctions functions);
    std::unique_ptr<KeyboardEventTapSession> createSession(KeyboardTapCallback callback) override;
    /// Where the last session was granted; none when it was refused, and before the first.
    [[nodiscard]] std::optional<EventTapRequest::Level> grantedLevel() const { return grantedLevel_; }

private:
    EventTapFunctions functions_;
    std::optional<EventTapRequest::Level> grantedLevel_;
};

} // namespace varnel
