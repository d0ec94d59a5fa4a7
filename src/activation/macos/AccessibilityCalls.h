#pragma once

#include "activation/AccessibilityElement.h"
#include "base/macos/CoreFoundationValues.h"

#include <ApplicationServices/ApplicationServices.h>

#include <expected>

namespace varnel {

// The accessibility service's calls in terms of our elements, whose handles are the native ones.

AXUIElementRef nativeOf(const AccessibilityElement& element);
/// Takes over the reference.
AccessibilityElement elementOf(CFTypeRef native);
AccessibilityElement applicationElement(ProcessIdentifier process);
std::expected<CoreFoundationOwned<CFTypeRef>, AccessibilityResult>
copyAttribute(const AccessibilityElement& element, CFStringRef name);
AccessibilityResult setAttribute(const AccessibilityElement& element, CFStringRef name, CFTypeRef value);
/// A hung program would hold every call up for several seconds otherwise.
void limitAccessibilityWaits();

} // namespace varnel
