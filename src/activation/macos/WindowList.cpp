#include "activation/macos/SystemActivation.h"
#include "base/macos/CoreFoundationValues.h"

#include <CoreGraphics/CoreGraphics.h>

namespace varnel {

namespace {

/// The entries as values; empty without a session of windows.
JSONValue::Array windowEntries(CGWindowListOption options) {
    const CoreFoundationOwned<CFArrayRef> list(CGWindowListCopyWindowInfo(options, kCGNullWindowID));
    auto value = list ? readValue(list.get()) : std::nullopt;
    return value && value->array() ? std::move(*value->array()) : JSONValue::Array();
}

template <typename Integer>
Integer integerOf(const JSONValue& entry, CFStringRef key) {
    const JSONValue* value = entry.find(readString(key));
    const double* number = value ? value->number() : nullptr;
    return number ? static_cast<Integer>(*number) : Integer{0};
}

std::string textOf(const JSONValue& entry, CFStringRef key) {
    const JSONValue* value = entry.find(readString(key));
    const std::string* text = value ? value->string() : nullptr;
    return text ? *text : std::string();
}

bool isTrue(const JSONValue& entry, CFStringRef key) {
    const JSONValue* value = entry.find(readString(key));
    const bool* truth = value ? value->boolean() : nullptr;
    return truth && *truth;
}

} // namespace

std::vector<OrderedWindow> SystemWindowOrdering::windowsFrontToBack() {
    std::vector<OrderedWindow> windows;
    for (const JSONValue& entry :
         windowEntries(kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements))
        windows.push_back({.number = integerOf<WindowNumber>(entry, kCGWindowNumber),
                           .process = integerOf<ProcessIdentifier>(entry, kCGWindowOwnerPID),
                           .layer = integerOf<int>(entry, kCGWindowLayer)});
    return windows;
}

std::expected<std::vector<RunningWindow>, WindowError> SystemRunningWindows::runningWindows() {
    const auto front = frontmostProcess();
    std::vector<RunningWindow> windows;
    bool activeFound = false;
    for (const JSONValue& entry :
         windowEntries(kCGWindowListOptionAll | kCGWindowListExcludeDesktopElements)) {
        RunningWindow window{.id = integerOf<WindowNumber>(entry, kCGWindowNumber),
                             .process = integerOf<ProcessIdentifier>(entry, kCGWindowOwnerPID),
                             .title = textOf(entry, kCGWindowName),
                             .applicationName = textOf(entry, kCGWindowOwnerName),
                             .isOnCurrentDesktop = isTrue(entry, kCGWindowIsOnscreen),
                             .layer = integerOf<int>(entry, kCGWindowLayer)};
        if (window.title.empty() && privateServer_)
            window.title = privateServer_->windowTitle(window.id).value_or("");
        window.applicationID = bundleIdentifierOf(window.process).value_or("");
        window.isActive =
            !activeFound && window.layer == 0 && window.isOnCurrentDesktop && front == window.process;
        activeFound = activeFound || window.isActive;
        windows.push_back(std::move(window));
    }
    return windows;
}

std::optional<ProcessIdentifier> SystemRunningWindows::frontmostProcess() {
    return frontmostRunningProcess();
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
