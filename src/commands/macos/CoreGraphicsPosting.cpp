#include "commands/macos/SystemCommands.h"

#include <ApplicationServices/ApplicationServices.h>

namespace varnel {

namespace {

using Object = CoreGraphicsPostingTable::Object;

/// Takes over an object that CoreGraphics made.
template <typename Reference>
Object owned(Reference object) {
    return object ? Object(object, [](void* made) { CFRelease(made); }) : Object();
}

CGEventRef eventOf(const Object& object) {
    return static_cast<CGEventRef>(object.get());
}
CGEventSourceRef sourceOf(const Object& object) {
    return static_cast<CGEventSourceRef>(object.get());
}

} // namespace

CoreGraphicsPostingTable systemCoreGraphicsPosting() {
    CoreGraphicsPostingTable table;
    table.isTrustedForAccessibility = [] { return AXIsProcessTrusted() != 0; };
    table.mayPostEvents = [] { return CGPreflightPostEventAccess(); };
    table.createSource = [] { return owned(CGEventSourceCreate(kCGEventSourceStateCombinedSessionState)); };
    table.createKeyboardEvent = [](const Object& source, KeyCode keyCode, bool isKeyDown) {
        return owned(CGEventCreateKeyboardEvent(sourceOf(source), keyCode, isKeyDown));
    };
    table.createEvent = [](const Object& source) { return owned(CGEventCreate(sourceOf(source))); };
    table.setType = [](const Object& event, std::uint32_t type) {
        CGEventSetType(eventOf(event), static_cast<CGEventType>(type));
    };
    table.setKeyCode = [](const Object& event, KeyCode keyCode) {
        CGEventSetIntegerValueField(eventOf(event), kCGKeyboardEventKeycode, keyCode);
    };
    table.setFlags = [](const Object& event, KeyFlags flags) {
        CGEventSetFlags(eventOf(event), static_cast<CGEventFlags>(flags));
    };
    table.postToProcess = [](std::int32_t process, const Object& event) {
        CGEventPostToPid(process, eventOf(event));
    };
    return table;
}

} // namespace varnel
