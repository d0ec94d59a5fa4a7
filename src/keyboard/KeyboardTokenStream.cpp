#include "keyboard/KeyboardTokenStream.h"

#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <utility>

namespace varnel {

KeyboardTokenStream::KeyboardTokenStream(std::function<TimePoint()> currentTime,
                                         std::function<Duration()> tapThreshold)
    : currentTime_(std::move(currentTime))
    , tapThreshold_(std::move(tapThreshold)) {
    token_.text.reserve(KeyTokenCodec::kLongestLiveToken);
}

const StreamToken* KeyboardTokenStream::feed(const KeyboardEvent& event) {
    lateRelease_.reset();
    switch (event.type) {
    case KeyboardEvent::Type::keyDown:
        return keyDown(event);
    case KeyboardEvent::Type::flagsChanged:
        return flagsChanged(event);
    case KeyboardEvent::Type::modifiersUsed:
        markUsedInChord();
        return nullptr;
    case KeyboardEvent::Type::postedByUs:
        return nullptr;
    }
    return nullptr;
}

void KeyboardTokenStream::reset() {
    activeModifierStates_.fill(std::nullopt);
}

const StreamToken* KeyboardTokenStream::keyDown(const KeyboardEvent& event) {
    markUsedInChord();
    KeyTokenCodec::formatLive(event.keyCode, event.flags, token_.text);
    token_.isRepeat = event.isRepeat;
    return &token_;
}

const StreamToken* KeyboardTokenStream::flagsChanged(const KeyboardEvent& event) {
    const auto modifier = modifierForKeyCode(event.keyCode);
    if (!modifier)
        return nullptr;
    auto& state = activeModifierStates_[static_cast<std::size_t>(*modifier)];
    if (event.flags & modifierFlag(*modifier)) {
        state = ModifierPressState{currentTime_(), false};
        return nullptr;
    }
    const auto released = std::exchange(state, std::nullopt);
    if (!released || released->wasUsedInChord)
        return nullptr;
    // A clock that went back makes the release an instant one.
    const Duration elapsed = std::max(currentTime_() - released->pressedAt, Duration::zero());
    if (const Duration limit = tapThreshold_(); elapsed > limit) {
        lateRelease_ = {*modifier, elapsed, limit};
        return nullptr;
    }
    token_.text = modifierName(*modifier);
    token_.isRepeat = false;
    return &token_;
}

void KeyboardTokenStream::markUsedInChord() {
    for (auto& state : activeModifierStates_)
        if (state)
            state->wasUsedInChord = true;
}

} // namespace varnel
