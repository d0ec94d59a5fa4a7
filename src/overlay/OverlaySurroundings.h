#pragma once

#include "base/EventLoop.h"
#include "base/Subscription.h"
#include "keyboard/notation/KeyToken.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace varnel {

/// A place on the desktop, in the unit in which the window system counts.
struct DesktopPlace {
    int x = 0;
    int y = 0;
    bool isInPixels = false; ///< of the screen, however dense it is
    friend bool operator==(const DesktopPlace&, const DesktopPlace&) = default;
};

/// What the hint window wants to know of the desktop around it, answered from values in memory. Main thread.
class OverlaySurroundings {
public:
    virtual ~OverlaySurroundings() = default;

    /// What the key at this position types without modifiers in the user's present layout ("z" where an
    /// English keyboard has "y"); nothing for a key that types no visible character.
    [[nodiscard]] virtual std::optional<std::string> keyLabel(KeyCode) const { return std::nullopt; }
    /// Whether windows may be translucent.
    [[nodiscard]] virtual bool blendsWindows() const { return true; }
    [[nodiscard]] virtual bool prefersLessMotion() const { return false; }
    /// Nothing: the desktop does not say.
    [[nodiscard]] virtual std::optional<bool> prefersDark() const { return std::nullopt; }
    /// The middle of the window that the user types into; nothing when there is none. The only answer that is
    /// asked for, since windows move: once for each time that hints appear.
    [[nodiscard]] virtual std::optional<DesktopPlace> focusedPlace() { return std::nullopt; }
    /// Whether keys are named by symbols (⌘) instead of words ("Super").
    [[nodiscard]] virtual bool namesKeysBySymbols() const { return false; }
    /// Makes the window with this native identifier one that never takes the focus, is on every workspace and
    /// above full-screen windows, as far as Qt has no means for it. Called whenever the window is made anew.
    virtual void adoptWindow(std::uintptr_t) {}
};

/// The surroundings on this system; those that say nothing where there is none to ask. The loop must outlive
/// the result.
std::unique_ptr<OverlaySurroundings> makeOverlaySurroundings(EventLoop& loop);

} // namespace varnel
