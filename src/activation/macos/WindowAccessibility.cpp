#include "activation/macos/AccessibilityCalls.h"
#include "activation/macos/SystemActivation.h"

#include <algorithm>

namespace varnel {

namespace {

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
    limitAccessibilityWaits();
    return {.frontmostProcess = frontmostRunningProcess,
            .activateFrom = activateFromProcess,
            .activate = activateProcess,
            .applicationElement = applicationElement,
            .windows = windowsOf,
            .pause = pauseBriefly};
}

} // namespace varnel
