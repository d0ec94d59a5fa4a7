#include "activation/macos/AccessibilityCalls.h"

namespace varnel {

namespace {

constexpr float kMessagingTimeoutSeconds = 0.5F;

} // namespace

AXUIElementRef nativeOf(const AccessibilityElement& element) {
    return reinterpret_cast<AXUIElementRef>(element.handle);
}

AccessibilityElement elementOf(CFTypeRef native) {
    return {.handle = reinterpret_cast<std::uintptr_t>(native),
            .keepAlive = std::shared_ptr<const void>(native, CoreFoundationRelease())};
}

AccessibilityElement applicationElement(ProcessIdentifier process) {
    return elementOf(AXUIElementCreateApplication(process));
}

std::expected<CoreFoundationOwned<CFTypeRef>, AccessibilityResult>
copyAttribute(const AccessibilityElement& element, CFStringRef name) {
    CFTypeRef value = nullptr;
    const AXError result = AXUIElementCopyAttributeValue(nativeOf(element), name, &value);
    CoreFoundationOwned<CFTypeRef> owned(value);
    if (result != kAXErrorSuccess)
        return std::unexpected(static_cast<AccessibilityResult>(result));
    if (!owned)
        return std::unexpected(AccessibilityResult::noValue);
    return owned;
}

AccessibilityResult setAttribute(const AccessibilityElement& element, CFStringRef name, CFTypeRef value) {
    return static_cast<AccessibilityResult>(AXUIElementSetAttributeValue(nativeOf(element), name, value));
}

void limitAccessibilityWaits() {
    const CoreFoundationOwned<AXUIElementRef> everything(AXUIElementCreateSystemWide());
    AXUIElementSetMessagingTimeout(everything.get(), kMessagingTimeoutSeconds);
}

} // namespace varnel
