#pragma once

#include "base/EventLoop.h"
#include "base/PreferenceStore.h"
#include "keyboard/HotkeyManager.h"
#include "overlay/KeyCaps.h"
#include "overlay/OverlaySurroundings.h"
#include "overlay/SuggestionOverlayPresenting.h"

#include <cstdint>
#include <optional>
#include <string>

namespace varnel {

/// Decides what the hint window shows and for how long. Follows the engine; no timer runs while nothing is
/// going to change by itself. Main thread only.
class SuggestionOverlayController {
public:
    static constexpr Duration kRefusalTime = 700ms;
    static constexpr Duration kSampleTime = 3s;
    /// The time-out's bar moves in steps of this length, or longer ones.
    static constexpr Duration kShortestBarStep = 33ms;

    /// Everything referred to must outlive the controller.
    SuggestionOverlayController(HotkeyManager& hotkeys, const PreferenceStore& preferences, EventLoop& loop,
                                const OverlaySurroundings& surroundings,
                                SuggestionOverlayPresenting& presenter);
    ~SuggestionOverlayController();
    SuggestionOverlayController(const SuggestionOverlayController&) = delete;
    SuggestionOverlayController& operator=(const SuggestionOverlayController&) = delete;

    /// Gets the window ready for its first appearance.
    void prepare();
    void showSample();

private:
    void hintsChanged();
    void statusChanged();
    void beginInteraction();
    /// Brings the window in line with what ought to be seen now, and arms the timer for the next change.
    void refresh();
    [[nodiscard]] std::optional<SuggestionOverlayState> wanted(const OverlayOptions& options);
    [[nodiscard]] bool hintsMayShow(const OverlayOptions& options) const;
    [[nodiscard]] SuggestionOverlayState hintsState(const OverlayOptions& options);
    [[nodiscard]] SuggestionOverlayState refusedState() const;
    void keepRowsAroundChoice(SuggestionOverlayState& state) const;
    void present(const SuggestionOverlayState& state, const OverlayOptions& options);
    void withdraw();
    void moveBar(const OverlayOptions& options);
    void armTimer();
    [[nodiscard]] bool isPending(const std::optional<TimePoint>& time) const;
    [[nodiscard]] KeyNaming naming() const;
    [[nodiscard]] OverlayAppearance appearance(const OverlayOptions& options) const;

    HotkeyManager& hotkeys_;
    const PreferenceStore& preferences_;
    EventLoop& loop_;
    const OverlaySurroundings& surroundings_;
    SuggestionOverlayPresenting& presenter_;

    HintState hints_;
    /// The hints of the last sequence as they were last seen; none when they were not.
    std::optional<SuggestionOverlayState> seenHints_;
    std::optional<TimePoint> appearance_; ///< when the hints of the open sequence may appear
    std::optional<HintRefusal> refusal_;
    std::uint64_t lastRefusal_ = 0;
    std::string message_;
    std::string lastStatus_;
    std::uint64_t lastFinished_ = 0;
    std::optional<TimePoint> refusalEnd_, messageEnd_, sampleEnd_;

    std::optional<SuggestionOverlayState> shown_;
    OverlayAppearance shownAppearance_;
    std::optional<TimePoint> barEnd_; ///< the deadline that `barLength_` belongs to
    Duration barLength_{};
    Subscription timer_, barTimer_;
    Subscription hintsObserver_, statusObserver_;
};

} // namespace varnel
