#include "activation/ImpatientAccessibility.h"

namespace varnel {

template <typename Result, typename Call>
Result ImpatientAccessibility::bounded(Result unanswered, const Call& call) {
    const auto start = now_();
    if (start < restsUntil_)
        return unanswered;
    Result result = call();
    if (!(result == unanswered)) {
        spent_ = {};
        return result;
    }
    const auto end = now_();
    spent_ += end - start;
    if (spent_ >= kPatience) {
        spent_ = {};
        restsUntil_ = end + kRest;
    }
    return result;
}

namespace {
constexpr auto kUnanswered = AccessibilityResult::cannotComplete;
}

std::expected<bool, AccessibilityResult>
ImpatientAccessibility::isMinimized(const AccessibilityElement& window) {
    return bounded(std::expected<bool, AccessibilityResult>(std::unexpected(kUnanswered)),
                   [&] { return system_.isMinimized(window); });
}

AccessibilityResult ImpatientAccessibility::setMinimized(const AccessibilityElement& window, bool minimized) {
    return bounded(kUnanswered, [&] { return system_.setMinimized(window, minimized); });
}

AccessibilityResult ImpatientAccessibility::setFocusedWindow(const AccessibilityElement& application,
                                                             const AccessibilityElement& window) {
    return bounded(kUnanswered, [&] { return system_.setFocusedWindow(application, window); });
}

AccessibilityResult ImpatientAccessibility::setMain(const AccessibilityElement& window) {
    return bounded(kUnanswered, [&] { return system_.setMain(window); });
}

AccessibilityResult ImpatientAccessibility::setFocused(const AccessibilityElement& window) {
    return bounded(kUnanswered, [&] { return system_.setFocused(window); });
}

AccessibilityResult ImpatientAccessibility::raise(const AccessibilityElement& window) {
    return bounded(kUnanswered, [&] { return system_.raise(window); });
}

std::optional<AccessibilityElement> ImpatientAccessibility::refresh(const AccessibilityElement& application,
                                                                    const AccessibilityElement& window) {
    return bounded(std::optional<AccessibilityElement>(),
                   [&] { return system_.refresh(application, window); });
}

} // namespace varnel
