#include "activation/x11/XcbWindowActivation.h"

#include <thread>
#include <unistd.h>

namespace varnel {
namespace {

constexpr auto kImpatience = std::chrono::seconds(2);
constexpr int kSettlingLooks = 10;
constexpr auto kSettlingPause = std::chrono::milliseconds(10);

WindowNumber numberOf(const AccessibilityElement& window) {
    return static_cast<WindowNumber>(window.handle);
}

template <typename Result>
AccessibilityResult resultOf(const Result& result) {
    return result ? AccessibilityResult::success : AccessibilityResult::cannotComplete;
}

} // namespace

std::expected<bool, AccessibilityResult>
XcbWindowAccessibilityController::isMinimized(const AccessibilityElement& window) {
    const auto answer = desktop_.isMinimized(numberOf(window));
    if (!answer)
        return std::unexpected(AccessibilityResult::invalidElement);
    return *answer;
}

AccessibilityResult XcbWindowAccessibilityController::setMinimized(const AccessibilityElement& window,
                                                                   bool minimized) {
    return resultOf(minimized ? desktop_.minimize(numberOf(window)) : desktop_.unminimize(numberOf(window)));
}

AccessibilityResult
XcbWindowAccessibilityController::setFocusedWindow(const AccessibilityElement& application,
                                                   const AccessibilityElement& window) {
    const std::optional<DesktopWindow> front = desktop_.frontWindow();
    if (!front || static_cast<std::uintptr_t>(front->process) != application.handle)
        return AccessibilityResult::attributeUnsupported;
    return makeActive(numberOf(window));
}

AccessibilityResult XcbWindowAccessibilityController::setMain(const AccessibilityElement&) {
    return AccessibilityResult::attributeUnsupported;
}

AccessibilityResult XcbWindowAccessibilityController::setFocused(const AccessibilityElement& window) {
    return makeActive(numberOf(window));
}

AccessibilityResult XcbWindowAccessibilityController::raise(const AccessibilityElement& window) {
    return desktop_.raise(numberOf(window)) ? AccessibilityResult::success
                                            : AccessibilityResult::invalidElement;
}

std::optional<AccessibilityElement>
XcbWindowAccessibilityController::refresh(const AccessibilityElement&, const AccessibilityElement& window) {
    if (!desktop_.exists(numberOf(window)))
        return std::nullopt;
    return window;
}

std::optional<WindowNumber>
XcbWindowAccessibilityController::windowNumber(const AccessibilityElement& window) {
    return numberOf(window);
}

AccessibilityResult XcbWindowAccessibilityController::makeActive(WindowNumber window) {
    if (desktop_.activeWindow() == window)
        return AccessibilityResult::success;
    // A window manager or a program that leaves one request unanswered will not be waited for at every step.
    const auto now = std::chrono::steady_clock::now();
    if (unansweredAt_ && now - *unansweredAt_ < kImpatience) {
        (void)desktop_.activate(window, XcbDesktop::Wait::no);
        return AccessibilityResult::cannotComplete;
    }
    const auto result = desktop_.activate(window);
    unansweredAt_ = result ? std::nullopt : std::optional(std::chrono::steady_clock::now());
    return resultOf(result);
}

ApplicationActivation XcbWindowAccessibilityController::activate(WindowNumber window) {
    const bool done = makeActive(window) == AccessibilityResult::success;
    const std::optional<DesktopWindow> front = desktop_.frontWindow();
    return {.activated = done, .frontmostProcess = front ? std::optional(front->process) : std::nullopt};
}

XcbWindowActivation::XcbWindowActivation(XcbDesktop& desktop, LogSink& log)
    : desktop_(desktop)
    , controller_(desktop)
    , checker_(desktop, controller_, getpid())
    , coordinator_(
          controller_, checker_, [this] { return settledFrontmostProcess(); }, log)
    , activation_(coordinator_, nullptr, environment(), getpid(), log) {}

std::optional<ProcessIdentifier> XcbWindowActivation::frontmostProcess() {
    // Also 0, the process of all windows of unknown origin: those can be chosen too.
    const std::optional<DesktopWindow> front = desktop_.frontWindow();
    return front ? std::optional(front->process) : std::nullopt;
}

std::optional<ProcessIdentifier> XcbWindowActivation::settledFrontmostProcess() {
    auto front = frontmostProcess();
    for (int look = 0; !front && look < kSettlingLooks; ++look) {
        std::this_thread::sleep_for(kSettlingPause);
        front = frontmostProcess();
    }
    return front;
}

WindowActivationEnvironment XcbWindowActivation::environment() {
    return {.findElements = [this](const RunningWindow& window) -> std::optional<WindowElements> {
                if (!desktop_.exists(window.id))
                    return std::nullopt;
                return WindowElements{{.handle = static_cast<std::uintptr_t>(window.process)},
                                      {.handle = window.id}};
            },
            .activateApplication =
                [this](const RunningWindow& window) { return controller_.activate(window.id); },
            .frontmostProcess = [this] { return frontmostProcess(); }};
}

} // namespace varnel
