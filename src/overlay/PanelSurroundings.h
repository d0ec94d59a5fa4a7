#pragma once

#include "overlay/OverlaySurroundings.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace varnel {

/// What macOS offers for a window of ours, which is known by its view, and about the user's wishes. Names and
/// numbers are the platform's. Main thread.
struct PanelTable {
    using View = std::uintptr_t;
    std::function<std::uint64_t(View)> styleMask;
    std::function<void(View, std::uint64_t)> setStyleMask;
    std::function<void(View, std::int64_t)> setLevel;
    std::function<void(View, std::uint64_t)> setCollectionBehavior;
    std::function<void(View, bool)> setHidesOnDeactivate;
    std::function<void(View, bool)> setIgnoresMouseEvents;
    std::function<void(View, std::int64_t)> setAnimationBehavior;
    std::function<bool()> accessibilityDisplayShouldReduceMotion;
    /// The middle of the screen with the window that has the keyboard, from the upper left corner of the
    /// first.
    std::function<std::pair<double, double>()> mainScreenCenter;
    /// What a key types without modifiers in the present layout; empty for none.
    std::function<std::string(KeyCode)> translateKey;
};

/// The surroundings on macOS.
class PanelSurroundings final : public OverlaySurroundings {
public:
    explicit PanelSurroundings(PanelTable table);
    [[nodiscard]] std::optional<std::string> keyLabel(KeyCode code) const override;
    [[nodiscard]] bool prefersLessMotion() const override;
    [[nodiscard]] std::optional<DesktopPlace> focusedPlace() override;
    [[nodiscard]] bool namesKeysBySymbols() const override { return true; }
    /// Makes it a panel that activates nothing, on every Space, beside full-screen applications.
    void adoptWindow(std::uintptr_t view) override;

private:
    PanelTable table_;
};

} // namespace varnel
