#pragma once

#include "overlay/OverlayPreferences.h"
#include "overlay/SuggestionOverlayState.h"

namespace varnel {

/// How the window looks, apart from what it shows.
struct OverlayAppearance {
    OverlayPosition position = OverlayPosition::center;
    int textSize = kOverlayTextSize.defaultValue;
    OverlayTheme theme = OverlayTheme::system; ///< `system`: as the toolkit sees it
    bool showsIcons = true;
    friend bool operator==(const OverlayAppearance&, const OverlayAppearance&) = default;
};

/// The window behind the hints. Main thread; every call returns once the window has been told, without
/// waiting for the screen.
class SuggestionOverlayPresenting {
public:
    virtual ~SuggestionOverlayPresenting() = default;

    /// Gets ready what the first appearance would otherwise wait for.
    virtual void prepare(const OverlayAppearance& appearance) = 0;
    /// Shows the state, or changes what is on show. Returns the number of pages that the rows take.
    virtual int show(const SuggestionOverlayState& state, const OverlayAppearance& appearance) = 0;
    /// Draws the bar of the running time-out: 1 full, 0 over.
    virtual void setTimeLeft(double fraction) = 0;
    virtual void hide() = 0;
};

} // namespace varnel
