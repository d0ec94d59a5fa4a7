#include "keyboard/macos/SystemEventTaps.h"

#import <AppKit/AppKit.h>

namespace varnel {

std::optional<KeyboardEvent> applicationEventOf(SystemObject event) {
    @autoreleasepool {
        NSEvent* native = [NSEvent eventWithCGEvent:static_cast<CGEventRef>(event)];
        if (!native)
            return std::nullopt;
        const bool isKeyDown = native.type == NSEventTypeKeyDown;
        KeyboardEvent key;
        key.type = isKeyDown ? KeyboardEvent::Type::keyDown : KeyboardEvent::Type::flagsChanged;
        key.keyCode = native.keyCode;
        key.flags = native.modifierFlags;
        key.isRepeat = isKeyDown && native.isARepeat; // asking a flags event raises an exception
        // The event's own clock stops while the machine sleeps, the loop's does not.
        key.time = std::chrono::steady_clock::now();
        return key;
    }
}

} // namespace varnel
