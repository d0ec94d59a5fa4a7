#pragma once

#include "base/TimePoint.h"
#include "keyboard/KeyboardMonitoring.h"

#include <array>
#include <functional>
#include <optional>
#include <string>

namespace varnel {

/// A modifier that is held down.
struct ModifierPressState {
    TimePoint pressedAt{};
    bool wasUsedInChord = false;
    friend bool operator==(const ModifierPressState&, const ModifierPressState&) = default;
};

/// A token with the mark of the event that it came from.
struct StreamToken {
    std::string text;
    bool isRepeat = false; ///< an auto-repeat of the key
};

/// Turns keyboard events into tokens: a chord at each key-down, a bare modifier's name when it is let go soon
/// enough and nothing else happened while it was held. Not thread-safe.
class KeyboardTokenStream {
public:
    /// Both functions are asked at the moment of use: the time at each modifier change, the threshold at each
    /// release.
    KeyboardTokenStream(std::function<TimePoint()> currentTime, std::function<Duration()> tapThreshold);

    /// The token of the event, or null. It stays valid until the next call. Allocates nothing.
    const StreamToken* feed(const KeyboardEvent& event);
    /// Forgets which modifiers are held.
    void reset();
    /// A modifier that the latest event let go without any other key, but too late for a tap.
    struct LateRelease {
        Modifier modifier;
        Duration held, limit;
    };
    [[nodiscard]] const std::optional<LateRelease>& lateRelease() const { return lateRelease_; }

    [[nodiscard]] const std::array<std::optional<ModifierPressState>, 4>& activeModifierStates() const {
        return activeModifierStates_;
    }

private:
    const StreamToken* keyDown(const KeyboardEvent& event);
    const StreamToken* flagsChanged(const KeyboardEvent& event);
    void markUsedInChord();

    std::array<std::optional<ModifierPressState>, 4> activeModifierStates_; ///< by `Modifier`
    std::function<TimePoint()> currentTime_;
    std::function<Duration()> tapThreshold_;
    StreamToken token_;
    std::optional<LateRelease> lateRelease_;
};

} // namespace varnel
