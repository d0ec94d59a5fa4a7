#include "keyboard/macos/SystemEventTaps.h"

#include <ApplicationServices/ApplicationServices.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace varnel {

namespace {

static_assert(kCGEventKeyDown == kCGEventKeyDownType && kCGEventFlagsChanged == kCGEventFlagsChangedType);
static_assert(static_cast<std::uint32_t>(kCGEventTapDisabledByTimeout) == kCGEventTapDisabledByTimeoutType);
static_assert(static_cast<std::uint32_t>(kCGEventTapDisabledByUserInput) ==
              kCGEventTapDisabledByUserInputType);
static_assert(static_cast<std::uint32_t>(kCGHIDEventTap) ==
                  static_cast<std::uint32_t>(EventTapRequest::Level::hid) &&
              static_cast<std::uint32_t>(kCGSessionEventTap) ==
                  static_cast<std::uint32_t>(EventTapRequest::Level::session));

/// What the table hands out as a port: the system keeps only a plain pointer to it.
struct Tap {
    CFMachPortRef port = nullptr;
    std::shared_ptr<const EventTapCallback> callback;
};

CFMachPortRef portOf(SystemObject tap) {
    return static_cast<Tap*>(tap)->port;
}
CFRunLoopSourceRef sourceOf(SystemObject source) {
    return static_cast<CFRunLoopSourceRef>(source);
}

CGEventRef receive(CGEventTapProxy, CGEventType type, CGEventRef event, void* context) {
    const auto callback = static_cast<Tap*>(context)->callback; // held: the call may release the tap
    const TapVerdict verdict = (*callback)(static_cast<std::uint32_t>(type), event);
    return verdict == TapVerdict::swallow ? nullptr : event; // borrowed: not ours to release
}

SystemObject createTap(const EventTapRequest& request, EventTapCallback callback) {
    auto tap = std::make_unique<Tap>();
    tap->callback = std::make_shared<const EventTapCallback>(std::move(callback));
    tap->port = CGEventTapCreate(
        static_cast<CGEventTapLocation>(request.level), static_cast<CGEventTapPlacement>(request.placement),
        static_cast<CGEventTapOptions>(request.options), request.eventMask, receive, tap.get());
    return tap->port ? tap.release() : nullptr;
}

void releaseTap(SystemObject object) {
    const std::unique_ptr<Tap> tap(static_cast<Tap*>(object));
    CFRelease(tap->port);
}

} // namespace

EventTapFunctions systemEventTaps() {
    EventTapFunctions functions;
    functions.createTap = createTap;
    functions.createRunLoopSource = [](SystemObject tap) -> SystemObject {
        return CFMachPortCreateRunLoopSource(kCFAllocatorDefault, portOf(tap), 0);
    };
    functions.addToMainRunLoop = [](SystemObject source) {
        CFRunLoopAddSource(CFRunLoopGetMain(), sourceOf(source), kCFRunLoopCommonModes);
    };
    functions.removeFromMainRunLoop = [](SystemObject source) {
        CFRunLoopRemoveSource(CFRunLoopGetMain(), sourceOf(source), kCFRunLoopCommonModes);
    };
    functions.enableTap = [](SystemObject tap, bool enabled) { CGEventTapEnable(portOf(tap), enabled); };
    functions.invalidatePort = [](SystemObject tap) { CFMachPortInvalidate(portOf(tap)); };
    functions.releaseSource = [](SystemObject source) { CFRelease(source); };
    functions.releasePort = releaseTap;
    functions.applicationEvent = applicationEventOf;
    functions.sourceProcess = [](SystemObject event) {
        return CGEventGetIntegerValueField(static_cast<CGEventRef>(event), kCGEventSourceUnixProcessID);
    };
    functions.ownProcess = getpid();
    functions.isDownOnHardware = [](KeyCode code) {
        return CGEventSourceKeyState(kCGEventSourceStateHIDSystemState, code);
    };
    return functions;
}

} // namespace varnel
