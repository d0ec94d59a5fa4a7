#include "activation/macos/AccessibilityCalls.h"
#include "activation/macos/SystemActivation.h"

#include <pthread.h>
#include <unistd.h>

namespace varnel {

namespace {

constexpr useconds_t kPauseMicroseconds = 20'000;

template <typename Value>
using Answer = WindowArrangingTable::Answer<Value>;

Answer<AccessibilityElement> copyElement(const AccessibilityElement& element, const char* attribute) {
    auto value = copyAttribute(element, makeString(attribute).get());
    if (!value)
        return std::unexpected(value.error());
    if (CFGetTypeID(value->get()) != AXUIElementGetTypeID())
        return std::unexpected(AccessibilityResult::noValue);
    return elementOf(value->release());
}

Answer<bool> copyBoolean(const AccessibilityElement& element, const char* attribute) {
    const auto value = copyAttribute(element, makeString(attribute).get());
    if (!value)
        return std::unexpected(value.error());
    return CFEqual(value->get(), kCFBooleanTrue) != 0;
}

/// A structure that the service wraps.
template <typename Structure>
Answer<Structure> copyWrapped(const AccessibilityElement& element, const char* attribute, AXValueType type) {
    const auto value = copyAttribute(element, makeString(attribute).get());
    if (!value)
        return std::unexpected(value.error());
    Structure structure{};
    if (CFGetTypeID(value->get()) != AXValueGetTypeID() ||
        !AXValueGetValue(static_cast<AXValueRef>(value->get()), type, &structure))
        return std::unexpected(AccessibilityResult::noValue);
    return structure;
}

AccessibilityResult setWrapped(const AccessibilityElement& element, const char* attribute, AXValueType type,
                               const void* structure) {
    const CoreFoundationOwned<AXValueRef> value(AXValueCreate(type, structure));
    return value ? setAttribute(element, makeString(attribute).get(), value.get())
                 : AccessibilityResult::failure;
}

Answer<ScreenPoint> copyPoint(const AccessibilityElement& element, const char* attribute) {
    const auto point = copyWrapped<CGPoint>(element, attribute, kAXValueTypeCGPoint);
    if (!point)
        return std::unexpected(point.error());
    return ScreenPoint{point->x, point->y};
}

Answer<ScreenSize> copySize(const AccessibilityElement& element, const char* attribute) {
    const auto size = copyWrapped<CGSize>(element, attribute, kAXValueTypeCGSize);
    if (!size)
        return std::unexpected(size.error());
    return ScreenSize{size->width, size->height};
}

AccessibilityResult setBoolean(const AccessibilityElement& element, const char* attribute, bool value) {
    return setAttribute(element, makeString(attribute).get(), value ? kCFBooleanTrue : kCFBooleanFalse);
}

AccessibilityResult setPoint(const AccessibilityElement& element, const char* attribute, ScreenPoint point) {
    const CGPoint native{point.x, point.y};
    return setWrapped(element, attribute, kAXValueTypeCGPoint, &native);
}

AccessibilityResult setSize(const AccessibilityElement& element, const char* attribute, ScreenSize size) {
    const CGSize native{size.width, size.height};
    return setWrapped(element, attribute, kAXValueTypeCGSize, &native);
}

} // namespace

WindowArrangingTable systemWindowArranging(PrivateWindowServerControlling& server) {
    limitAccessibilityWaits();
    const WindowListTable list = systemWindowList();
    return {
        .isProcessTrusted = [] { return AXIsProcessTrusted() != 0; },
        .frontmostProcess = frontmostRunningProcess,
        .screens = systemScreens,
        .onScreenWindows = list.onScreenWindows,
        .allWindows = list.allWindows,
        .windowNumber = [&server](const AccessibilityElement& window) { return server.windowNumber(window); },
        .applicationElement = applicationElement,
        .copyElement = copyElement,
        .copyBoolean = copyBoolean,
        .copyPoint = copyPoint,
        .copySize = copySize,
        .setBoolean = setBoolean,
        .setPoint = setPoint,
        .setSize = setSize,
        .pause = pauseBriefly};
}

void pauseBriefly() {
    usleep(kPauseMicroseconds);
    if (pthread_main_np() != 0)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
}

} // namespace varnel
