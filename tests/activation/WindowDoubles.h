#pragma once

#include "activation/WindowFocusing.h"
#include "base/Log.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

namespace varnel {

/// Keeps the lines it gets.
class RecordingLog : public LogSink {
public:
    void write(LogLevel, std::string_view, std::string_view text) override { lines.emplace_back(text); }
    std::vector<std::string> lines;
};

/// Answers as told; every accepted step is counted.
class ScriptedAccessibility : public WindowAccessibilityControlling {
public:
    std::expected<bool, AccessibilityResult> minimized = false;
    AccessibilityResult result = AccessibilityResult::success;
    bool refreshes = true;
    int setCalls = 0;

    std::expected<bool, AccessibilityResult> isMinimized(const AccessibilityElement&) override {
        return minimized;
    }
    AccessibilityResult setMinimized(const AccessibilityElement&, bool value) override {
        minimized = value;
        return answer();
    }
    AccessibilityResult setFocusedWindow(const AccessibilityElement&, const AccessibilityElement&) override {
        return answer();
    }
    AccessibilityResult setMain(const AccessibilityElement&) override { return answer(); }
    AccessibilityResult setFocused(const AccessibilityElement&) override { return answer(); }
    AccessibilityResult raise(const AccessibilityElement&) override { return answer(); }
    std::optional<AccessibilityElement> refresh(const AccessibilityElement&,
                                                const AccessibilityElement& window) override {
        return refreshes ? std::optional(window) : std::nullopt;
    }

private:
    AccessibilityResult answer() {
        ++setCalls;
        return result;
    }
};

/// Gives its answers one after another.
class ScriptedChecker : public WindowFrontmostChecking {
public:
    std::optional<WindowNumber> number = 7;
    std::deque<bool> answers;

    std::optional<WindowNumber> windowNumber(const AccessibilityElement&) override { return number; }
    bool isFrontmost(ProcessIdentifier, const AccessibilityElement&) override {
        if (answers.empty())
            return false;
        const bool answer = answers.front();
        answers.pop_front();
        return answer;
    }
};

} // namespace varnel
