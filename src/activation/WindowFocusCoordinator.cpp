#include "activation/WindowFocusCoordinator.h"

#include <algorithm>
#include <string>

namespace varnel {

std::optional<WindowNumber> LiveWindowFrontmostChecker::windowNumber(const AccessibilityElement& window) {
    return windowNumberProvider_.windowNumber(window);
}

bool LiveWindowFrontmostChecker::isFrontmost(ProcessIdentifier process, const AccessibilityElement& window) {
    const std::optional<WindowNumber> number = windowNumberProvider_.windowNumber(window);
    if (!number)
        return false;
    const std::vector<OrderedWindow> order = windowOrderingProvider_.windowsFrontToBack();
    auto front = std::ranges::find_if(
        order, [&](const OrderedWindow& each) { return each.layer == 0 && each.process != ownProcess_; });
    // A window in front of which only its own dialogs stand is in front. The steps are counted because the
    // owners are what programs say, and may form a ring.
    for (std::size_t steps = 0; front != order.end() && steps < order.size(); ++steps) {
        if (front->number == *number)
            return front->process == process;
        if (front->owner == 0)
            return false;
        front = std::ranges::find(order, front->owner, &OrderedWindow::number);
    }
    return false;
}

/// One focus sequence.
class WindowFocusCoordinator::Run {
public:
    Run(WindowFocusCoordinator& owner, const WindowFocusRequest& request)
        : owner_(owner)
        , controller_(owner.accessibilityController_)
        , request_(request)
        , window_(request.window)
        , number_(owner.frontmostChecker_.windowNumber(request.window)) {}

    WindowFocusOutcome run() {
        trace("windowFocus.start");
        bringOut();
        activateApplication();
        refreshWindow();
        focusWindow(kPostActivation);
        checkWindow();
        return finish();
    }

private:
    /// Trace names of the four steps that follow activation.
    struct StepNames {
        const char *focusedWindow, *main, *focused, *raise;
    };
    static constexpr StepNames kPostActivation{"windowFocus.postActivationFocusedWindow", "windowFocus.main",
                                               "windowFocus.focused", "windowFocus.raise"};
    static constexpr StepNames kRetry{"windowFocus.retry.focusedWindow", "windowFocus.retry.main",
                                      "windowFocus.retry.focused", "windowFocus.retry.raise"};

    void bringOut() {
        const auto minimized = controller_.isMinimized(window_);
        if (!minimized)
            trace("windowFocus.unminimize", minimized.error());
        else if (*minimized)
            trace("windowFocus.unminimize", controller_.setMinimized(window_, false));
        trace("windowFocus.focusedWindow", controller_.setFocusedWindow(request_.application, window_));
        trace("windowFocus.initialRaise", controller_.raise(window_));
    }

    void activateApplication() {
        bool isInFront = false;
        if (number_) {
            isInFront = isWindowFrontmost();
            traceWindow("windowFocus.targetWindowFrontmost.preActivation", isInFront);
        }
        if (request_.applicationIsFrontmost) {
            trace("windowFocus.activateApplication.skippedAlreadyFrontmost=true");
        } else if (isInFront) {
            trace("windowFocus.activateApplication.skipped=true");
        } else {
            outcome_.requiresApplicationSwitch = true;
            if (request_.activateApplication)
                activation_ = request_.activateApplication();
        }
        trace("windowFocus.activateApplication=" + text(activation_.activated));
    }

    void refreshWindow() {
        const auto found = controller_.refresh(request_.application, window_);
        if (found)
            window_ = *found;
        trace("windowFocus.refreshWindow=" + text(found.has_value()));
    }

    void focusWindow(const StepNames& names) {
        const auto step = [this](const char* name, AccessibilityResult result) {
            trace(name, result);
            wasAccepted_ = wasAccepted_ || result == AccessibilityResult::success;
        };
        step(names.focusedWindow, controller_.setFocusedWindow(request_.application, window_));
        step(names.main, controller_.setMain(window_));
        step(names.focused, controller_.setFocused(window_));
        step(names.raise, controller_.raise(window_));
    }

    void checkWindow() {
        outcome_.targetFrontmost = owner_.frontmostProcess_() == request_.process ||
                                   activation_.frontmostProcess == request_.process;
        if (!number_ || !outcome_.targetFrontmost)
            return;
        outcome_.targetWindowFrontmost = isWindowFrontmost();
        traceWindow("windowFocus.targetWindowFrontmost.initial", *outcome_.targetWindowFrontmost);
        if (*outcome_.targetWindowFrontmost)
            return;
        focusWindow(kRetry);
        outcome_.targetWindowFrontmost = isWindowFrontmost();
        trace("windowFocus.targetWindowFrontmost.retry=" + text(*outcome_.targetWindowFrontmost));
    }

    WindowFocusOutcome finish() {
        outcome_.succeeded =
            outcome_.targetFrontmost && (number_ ? *outcome_.targetWindowFrontmost : wasAccepted_);
        trace("windowFocus.finish=" + text(outcome_.succeeded) +
              " requiresApplicationSwitch=" + text(outcome_.requiresApplicationSwitch) +
              " targetFrontmost=" + text(outcome_.targetFrontmost) +
              " targetWindowFrontmost=" + text(outcome_.targetWindowFrontmost.value_or(false)));
        return outcome_;
    }

    bool isWindowFrontmost() { return owner_.frontmostChecker_.isFrontmost(request_.process, window_); }

    static std::string text(bool value) { return value ? "true" : "false"; }
    void trace(const std::string& line) { owner_.log_.write(LogLevel::debug, kActivationLog, line); }
    void trace(const char* step, AccessibilityResult result) {
        trace(std::string(step) + "=" + std::to_string(static_cast<int>(result)));
    }
    void traceWindow(const char* step, bool answer) {
        trace(std::string(step) + "=" + text(answer) + " windowNumber=" + std::to_string(*number_));
    }

    WindowFocusCoordinator& owner_;
    WindowAccessibilityControlling& controller_;
    const WindowFocusRequest& request_;
    AccessibilityElement window_;
    std::optional<WindowNumber> number_;
    ApplicationActivation activation_;
    bool wasAccepted_ = false; ///< some step after activation succeeded
    WindowFocusOutcome outcome_;
};

WindowFocusOutcome WindowFocusCoordinator::focus(const WindowFocusRequest& request) {
    return Run(*this, request).run();
}

} // namespace varnel
