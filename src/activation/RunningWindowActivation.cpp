#include "activation/RunningWindowActivation.h"

#include "base/Localized.h"

#include <string>

namespace varnel {
namespace {

std::string text(bool value) {
    return value ? "true" : "false";
}

std::string applicationOf(const RunningWindow& window) {
    return window.applicationName.empty() ? localized("The application") : window.applicationName;
}

} // namespace

std::expected<void, WindowError> RunningWindowActivation::activate(const RunningWindow& window) {
    trace("windowActivation.start pid=" + std::to_string(window.process) +
          " windowNumber=" + std::to_string(window.id));
    auto result = window.process == ownProcess_
                      ? std::unexpected(WindowError{localized("Varnel's own windows cannot be chosen.")})
                      : attempt(window);
    trace("windowActivation.finish=" + text(result.has_value()) +
          (result ? std::string() : " reason=" + result.error().message));
    return result;
}

std::expected<void, WindowError> RunningWindowActivation::attempt(const RunningWindow& window) {
    const bool wasFocusedPrivately = focusPrivately(window);
    // Only now: an application often offers no element for a window on another space.
    const std::optional<WindowElements> elements = environment_.findElements(window);
    const bool isFrontmost = environment_.frontmostProcess() == window.process;
    if (!elements) {
        if (wasFocusedPrivately && isFrontmost)
            return {};
        return std::unexpected(WindowError{localized("The window no longer exists.")});
    }
    const WindowFocusOutcome outcome =
        focusing_.focus({.process = window.process,
                         .application = elements->application,
                         .window = elements->window,
                         .applicationIsFrontmost = isFrontmost,
                         .activateApplication = [&] { return environment_.activateApplication(window); }});
    if (outcome.succeeded)
        return {};
    if (!outcome.targetFrontmost)
        return std::unexpected(
            WindowError{localized("%1 could not be brought to the front.", {applicationOf(window)})});
    return std::unexpected(WindowError{
        localized("%1 is in front, but did not bring the chosen window forward.", {applicationOf(window)})});
}

bool RunningWindowActivation::focusPrivately(const RunningWindow& window) {
    if (!privateServer_ || window.id == 0)
        return false;
    const PrivateWindowFocusResult result = privateServer_->focus(window.process, window.id);
    trace("windowActivation.privateFocus=" + text(result.succeeded) + " attempted=" + text(result.attempted) +
          " detail=" + result.detail);
    return result.succeeded;
}

void RunningWindowActivation::trace(const std::string& line) {
    log_.write(LogLevel::debug, kActivationLog, line);
}

} // namespace varnel
