#include "keyboard/PanicKeys.h"

#include <utility>

namespace varnel {

const std::shared_ptr<const std::vector<std::string>>& PanicKeys::chords() {
    static const auto chords = std::make_shared<const std::vector<std::string>>(
        std::vector<std::string>{"ctrl+escape", "ctrl+space"});
    return chords;
}

bool PanicKeys::press(KeyCode key, Press kind, PanicKeySet heldByHand) {
    // What is pressed was up before, and may not be known to be down yet.
    if (kind == Press::first) {
        areHeld_ = false;
        heldByHand.leftControl |= key == kLeftControl;
        heldByHand.space |= key == kSpace;
        heldByHand.escape |= key == kEscape;
    }
    return !std::exchange(areHeld_, heldByHand.all()) && areHeld_;
}

} // namespace varnel
