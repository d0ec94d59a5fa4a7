#include "activation/macos/SystemActivation.h"
#include "base/macos/CoreFoundationValues.h"

#include <CoreGraphics/CoreGraphics.h>

#include <cmath>

namespace varnel {

namespace {

/// What a dictionary has for `key`; null where it is absent.
JSONValue valueOf(CFDictionaryRef dictionary, CFStringRef key) {
    const CFTypeRef value = CFDictionaryGetValue(dictionary, key);
    return value ? readValue(value).value_or(nullptr) : nullptr;
}

double numberOf(CFDictionaryRef dictionary, CFStringRef key) {
    const JSONValue value = valueOf(dictionary, key);
    return value.number() ? *value.number() : 0;
}

std::string textOf(CFDictionaryRef dictionary, CFStringRef key) {
    const JSONValue value = valueOf(dictionary, key);
    return value.string() ? *value.string() : std::string();
}

Rectangle boundsOf(CFDictionaryRef dictionary) {
    CGRect bounds{};
    if (const CFTypeRef value = CFDictionaryGetValue(dictionary, kCGWindowBounds))
        CGRectMakeWithDictionaryRepresentation(static_cast<CFDictionaryRef>(value), &bounds);
    const auto rounded = [](CGFloat number) { return static_cast<int>(std::lround(number)); };
    return {rounded(bounds.origin.x), rounded(bounds.origin.y), rounded(bounds.size.width),
            rounded(bounds.size.height)};
}

WindowListEntry entryOf(CFDictionaryRef dictionary) {
    return {.number = static_cast<WindowNumber>(numberOf(dictionary, kCGWindowNumber)),
            .process = static_cast<ProcessIdentifier>(numberOf(dictionary, kCGWindowOwnerPID)),
            .layer = static_cast<int>(numberOf(dictionary, kCGWindowLayer)),
            .alpha = numberOf(dictionary, kCGWindowAlpha),
            .bounds = boundsOf(dictionary),
            .title = textOf(dictionary, kCGWindowName),
            .applicationName = textOf(dictionary, kCGWindowOwnerName)};
}

/// Empty without a session of windows.
std::vector<WindowListEntry> windowEntries(CGWindowListOption option) {
    const CoreFoundationOwned<CFArrayRef> list(
        CGWindowListCopyWindowInfo(option | kCGWindowListExcludeDesktopElements, kCGNullWindowID));
    std::vector<WindowListEntry> entries;
    for (CFIndex i = 0; list && i < CFArrayGetCount(list.get()); ++i)
        entries.push_back(entryOf(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(list.get(), i))));
    return entries;
}

} // namespace

WindowListTable systemWindowList() {
    return {.onScreenWindows = [] { return windowEntries(kCGWindowListOptionOnScreenOnly); },
            .allWindows = [] { return windowEntries(kCGWindowListOptionAll); },
            .bundleIdentifier = bundleIdentifierOf};
}

NativeValues systemNativeValues() {
    return {
        .read = [](NativeReference value) { return readValue(value).value_or(nullptr); },
        .makeNumbers = [](std::span<const std::uint64_t> numbers) -> NativeReference {
            JSONValue::Array values;
            for (const std::uint64_t number : numbers)
                values.emplace_back(static_cast<double>(number));
            return makeValue(values).release();
        },
        .makeString = [](const std::string& text) -> NativeReference { return makeString(text).release(); },
        .release = [](NativeReference value) { CFRelease(value); }};
}

} // namespace varnel
