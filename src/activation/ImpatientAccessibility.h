#pragma once

#include "activation/WindowFocusing.h"

#include <chrono>
#include <functional>

namespace varnel {

/// Passes accessibility calls on, but bounds what a hung program can cost: when calls that ended without an
/// answer have taken `kPatience` together, the next ones end so at once, for `kRest`. Every call is bounded
/// by itself already; a focus sequence makes a dozen of them. One thread at a time.
class ImpatientAccessibility final : public WindowAccessibilityControlling {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    static constexpr std::chrono::milliseconds kPatience{1000};
    static constexpr std::chrono::milliseconds kRest{2000};

    /// `system` must outlive it.
    explicit ImpatientAccessibility(WindowAccessibilityControlling& system,
                                    Clock now = std::chrono::steady_clock::now)
        : system_(system)
        , now_(std::move(now)) {}

    std::expected<bool, AccessibilityResult> isMinimized(const AccessibilityElement& window) override;
    AccessibilityResult setMinimized(const AccessibilityElement& window, bool minimized) override;
    AccessibilityResult setFocusedWindow(const AccessibilityElement& application,
                                         const AccessibilityElement& window) override;
    AccessibilityResult setMain(const AccessibilityElement& window) override;
    AccessibilityResult setFocused(const AccessibilityElement& window) override;
    AccessibilityResult raise(const AccessibilityElement& window) override;
    std::optional<AccessibilityElement> refresh(const AccessibilityElement& application,
                                                const AccessibilityElement& window) override;

private:
    template <typename Result, typename Call>
    Result bounded(Result unanswered, const Call& call);

    WindowAccessibilityControlling& system_;
    Clock now_;
    std::chrono::steady_clock::duration spent_{0};
    std::chrono::steady_clock::time_point restsUntil_{};
};

} // namespace varnel
