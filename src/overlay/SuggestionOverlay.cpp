#include "overlay/SuggestionOverlay.h"

#include "overlay/ApplicationIcons.h"
#include "overlay/SuggestionOverlayController.h"
#include "overlay/SuggestionOverlayWidget.h"

namespace varnel {

struct SuggestionOverlay::Parts {
    Parts(HotkeyManager& hotkeys, PreferenceStore& preferences, EventLoop& loop,
          OverlaySurroundings& surroundings)
        : icons(loop, [this] { widget.iconsChanged(); })
        , widget(surroundings, [this](const std::string& path) { return icons.icon(path); })
        , controller(hotkeys, preferences, loop, surroundings, widget)
        // Not at once: whoever makes the overlay has keys to answer first.
        , preparation(loop.after(Duration::zero(), [this] { controller.prepare(); })) {}

    ApplicationIcons icons;
    SuggestionOverlayWidget widget;
    SuggestionOverlayController controller;
    Subscription preparation;
};

SuggestionOverlay::SuggestionOverlay(HotkeyManager& hotkeys, PreferenceStore& preferences, EventLoop& loop,
                                     OverlaySurroundings& surroundings)
    : parts_(std::make_unique<Parts>(hotkeys, preferences, loop, surroundings)) {}

SuggestionOverlay::~SuggestionOverlay() = default;

void SuggestionOverlay::showSample() {
    parts_->controller.showSample();
}

} // namespace varnel
