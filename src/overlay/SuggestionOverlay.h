#pragma once

#include "base/EventLoop.h"
#include "base/PreferenceStore.h"
#include "keyboard/HotkeyManager.h"
#include "overlay/OverlaySurroundings.h"

#include <memory>

namespace varnel {

/// The hint window of the application: shows which keys may follow in the open sequence, the row that was
/// chosen, a refused key, and for a moment what the last command said. Follows the engine by itself and reads
/// `OverlayPreferences.h` at each appearance. Main thread; needs a `QApplication`.
class SuggestionOverlay {
public:
    /// Everything referred to must outlive the overlay. The window is made, and its fonts are loaded, in a
    /// later turn of the loop, so that the first appearance is as fast as any other; make the overlay once
    /// keys are captured.
    SuggestionOverlay(HotkeyManager& hotkeys, PreferenceStore& preferences, EventLoop& loop,
                      OverlaySurroundings& surroundings);
    ~SuggestionOverlay();
    SuggestionOverlay(const SuggestionOverlay&) = delete;
    SuggestionOverlay& operator=(const SuggestionOverlay&) = delete;

    /// Shows invented hints for three seconds with the preferences as they are now, for the settings.
    void showSample();

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace varnel
