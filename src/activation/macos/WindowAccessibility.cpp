#include "activation/macos/SystemActivation.h"
#include "base/macos/CoreFoundationValues.h"

#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>

namespace varnel {

namespace {

/// A hung program would hold every call up for several seconds otherwise.
constexpr float kMessagingTimeoutSeconds = 1;

AXUIElementRef nativeOf(const AccessibilityElement& element) {
    return reinterpret_cast<AXUIElementRef>(element.handle);
}

AccessibilityElement elementOf(CFTypeRef native) {
    return {.handle = reinterpret_cast<std::uintptr_t>(native),
            .keepAlive = std::shared_ptr<const void>(native, CoreFoundationRelease())};
}

std::expected<CoreFoundationOwned<CFTypeRef>, AccessibilityResult>
copyAttribute(const AccessibilityElement& element, CFStringRef name) {
    CFTypeRef value = nullptr;
    const AXError result = AXUIElementCopyAttributeValue(nativeOf(element), name, &value);
    CoreFoundationOwned<CFTypeRef> owned(value);
    if (result != kAXErrorSuccess || !owned)
        return std::unexpected(static_cast<AccessibilityResult>(owned ? result : kAXErrorNoValue));
    return owned;
}

AccessibilityResult setAttribute(const AccessibilityElement& element, CFStringRef name, CFTypeRef value) {
    return static_cast<AccessibilityResult>(AXUIElementSetAttributeValue(nativeOf(element), name, value));
}

AccessibilityElement applicationElement(ProcessIdentifier process) {
    AXUIElementRef application = AXUIElementCreateApplication(process);
    AXUIElementSetMessagingTimeout(application, kMessagingTimeoutSeconds);
    return elementOf(application);
}

std::vector<AccessibilityElement> windowsOf(const AccessibilityElement& application) {
    const auto value = copyAttribute(application, CFSTR("AXWindows"));
    std::vector<AccessibilityElement> elements;
    if (!value || CFGetTypeID(value->get()) != CFArrayGetTypeID())
        return elements;
    const auto array = static_cast<CFArrayRef>(value->get());
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
        elements.push_back(elementOf(CFRetain(CFArrayGetValueAtIndex(array, i))));
    return elements;
}

} // namespace

std::expected<bool, AccessibilityResult>
SystemWindowAccessibility::isMinimized(const AccessibilityElement& window) {
    const auto value = copyAttribute(window, CFSTR("AXMinimized"));
    if (!value)
        return std::unexpected(value.error());
    return CFEqual(value->get(), kCFBooleanTrue) != 0;
}

AccessibilityResult SystemWindowAccessibility::setMinimized(const AccessibilityElement& window,
                                                            bool minimized) {
    return setAttribute(window, CFSTR("AXMinimized"), minimized ? kCFBooleanTrue : kCFBooleanFalse);
}

AccessibilityResult SystemWindowAccessibility::setFocusedWindow(const AccessibilityElement& application,
                                                                const AccessibilityElement& window) {
    return setAttribute(application, CFSTR("AXFocusedWindow"), nativeOf(window));
}

AccessibilityResult SystemWindowAccessibility::setMain(const AccessibilityElement& window) {
    return setAttribute(window, CFSTR("AXMain"), kCFBooleanTrue);
}

AccessibilityResult SystemWindowAccessibility::setFocused(const AccessibilityElement& window) {
    return setAttribute(window, CFSTR("AXFocused"), kCFBooleanTrue);
}

AccessibilityResult SystemWindowAccessibility::raise(const AccessibilityElement& window) {
    return static_cast<AccessibilityResult>(AXUIElementPerformAction(nativeOf(window), CFSTR("AXRaise")));
}

std::optional<AccessibilityElement>
SystemWindowAccessibility::refresh(const AccessibilityElement& application,
                                   const AccessibilityElement& window) {
    const auto windows = windowsOf(application);
    const auto found =
        std::find_if(windows.begin(), windows.end(), [&](const AccessibilityElement& candidate) {
            return CFEqual(nativeOf(candidate), nativeOf(window));
        });
    return found == windows.end() ? std::nullopt : std::optional(*found);
}

RunningApplicationTable systemRunningApplications() {
    return {.frontmostProcess = frontmostRunningProcess,
            .activateFrom = activateFromProcess,
            .activate = activateProcess,
            .applicationElement = applicationElement,
            .windows = windowsOf};
}

} // namespace varnel
