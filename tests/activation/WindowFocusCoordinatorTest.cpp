#include "activation/WindowFocusCoordinator.h"
#include "tests/activation/WindowDoubles.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

constexpr ProcessIdentifier kTarget = 100, kOther = 200, kOwn = 300;

struct Sequence {
    ScriptedAccessibility accessibility;
    ScriptedChecker checker;
    RecordingLog log;
    std::optional<ProcessIdentifier> frontmost = kOther;
    bool isFrontmostAlready = false;
    ApplicationActivation activation{.activated = true};
    int activations = 0;

    WindowFocusOutcome run() {
        WindowFocusCoordinator coordinator(
            accessibility, checker, [this] { return frontmost; }, log);
        return coordinator.focus({.process = kTarget,
                                  .application = {.handle = 1},
                                  .window = {.handle = 2},
                                  .applicationIsFrontmost = isFrontmostAlready,
                                  .activateApplication = [this] {
                                      ++activations;
                                      return activation;
                                  }});
    }
};

using Lines = std::vector<std::string>;

TEST(WindowFocusCoordinator, UnminimizesActivatesAndFinishesWhenTheWindowIsInFront) {
    Sequence sequence;
    sequence.accessibility.minimized = true;
    sequence.checker.answers = {false, true};
    sequence.frontmost = kTarget;
    const WindowFocusOutcome outcome = sequence.run();
    EXPECT_EQ(outcome, (WindowFocusOutcome{true, true, true, true}));
    EXPECT_EQ(sequence.activations, 1);
    EXPECT_EQ(sequence.log.lines,
              (Lines{
                  "windowFocus.start",
                  "windowFocus.unminimize=0",
                  "windowFocus.focusedWindow=0",
                  "windowFocus.initialRaise=0",
                  "windowFocus.targetWindowFrontmost.preActivation=false windowNumber=7",
                  "windowFocus.activateApplication=true",
                  "windowFocus.refreshWindow=true",
                  "windowFocus.postActivationFocusedWindow=0",
                  "windowFocus.main=0",
                  "windowFocus.focused=0",
                  "windowFocus.raise=0",
                  "windowFocus.targetWindowFrontmost.initial=true windowNumber=7",
                  "windowFocus.finish=true requiresApplicationSwitch=true targetFrontmost=true "
                  "targetWindowFrontmost=true",
              }));
}

TEST(WindowFocusCoordinator, RetriesTheFourStepsOnceAndTracesTheirErrors) {
    Sequence sequence;
    sequence.accessibility.minimized = std::unexpected(AccessibilityResult::noValue);
    sequence.accessibility.result = AccessibilityResult::cannotComplete;
    sequence.accessibility.refreshes = false;
    sequence.activation = {.activated = false, .frontmostProcess = kTarget};
    const WindowFocusOutcome outcome = sequence.run();
    EXPECT_EQ(outcome, (WindowFocusOutcome{false, true, true, false}));
    EXPECT_EQ(sequence.log.lines,
              (Lines{
                  "windowFocus.start",
                  "windowFocus.unminimize=-25212",
                  "windowFocus.focusedWindow=-25204",
                  "windowFocus.initialRaise=-25204",
                  "windowFocus.targetWindowFrontmost.preActivation=false windowNumber=7",
                  "windowFocus.activateApplication=false",
                  "windowFocus.refreshWindow=false",
                  "windowFocus.postActivationFocusedWindow=-25204",
                  "windowFocus.main=-25204",
                  "windowFocus.focused=-25204",
                  "windowFocus.raise=-25204",
                  "windowFocus.targetWindowFrontmost.initial=false windowNumber=7",
                  "windowFocus.retry.focusedWindow=-25204",
                  "windowFocus.retry.main=-25204",
                  "windowFocus.retry.focused=-25204",
                  "windowFocus.retry.raise=-25204",
                  "windowFocus.targetWindowFrontmost.retry=false",
                  "windowFocus.finish=false requiresApplicationSwitch=true targetFrontmost=true "
                  "targetWindowFrontmost=false",
              }));
}

Lines joined(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

/// The four steps, each with the same result.
Lines focusSteps(const std::string& result, const std::string& first = "postActivationFocusedWindow",
                 const std::string& prefix = "windowFocus.") {
    return {prefix + first + "=" + result, prefix + "main=" + result, prefix + "focused=" + result,
            prefix + "raise=" + result};
}
Lines retrySteps(const std::string& result) {
    return focusSteps(result, "focusedWindow", "windowFocus.retry.");
}

// What comes before the decision and between it and the ending is the same each time.
TEST(WindowFocusCoordinator, DecidesOnActivationAndOnTheFinalCheck) {
    struct Row {
        const char* name;
        bool isFrontmostAlready;
        std::optional<WindowNumber> number;
        std::deque<bool> answers;
        std::optional<ProcessIdentifier> frontmost;
        AccessibilityResult result;
        Lines decision; ///< from the check before activation to its result
        Lines ending;   ///< after the four steps
        WindowFocusOutcome outcome;
    };
    constexpr auto ok = AccessibilityResult::success, bad = AccessibilityResult::failure;
    const Lines initial{"windowFocus.targetWindowFrontmost.initial=false windowNumber=7"};
    const Row rows[] = {
        {"the second pass brings the window forward",
         false,
         7,
         {false, false, true},
         kTarget,
         ok,
         {"windowFocus.targetWindowFrontmost.preActivation=false windowNumber=7",
          "windowFocus.activateApplication=true"},
         joined({initial,
                 retrySteps("0"),
                 {"windowFocus.targetWindowFrontmost.retry=true",
                  "windowFocus.finish=true requiresApplicationSwitch=true targetFrontmost=true "
                  "targetWindowFrontmost=true"}}),
         {true, true, true, true}},
        {"another window of the application in front stays before it",
         true,
         7,
         {false, false, false},
         kTarget,
         bad,
         {"windowFocus.targetWindowFrontmost.preActivation=false windowNumber=7",
          "windowFocus.activateApplication.skippedAlreadyFrontmost=true",
          "windowFocus.activateApplication=false"},
         joined({initial,
                 retrySteps("-25200"),
                 {"windowFocus.targetWindowFrontmost.retry=false",
                  "windowFocus.finish=false requiresApplicationSwitch=false targetFrontmost=true "
                  "targetWindowFrontmost=false"}}),
         {false, false, true, false}},
        {"nobody knows the number, and nobody is in front",
         false,
         std::nullopt,
         {},
         std::nullopt,
         ok,
         {"windowFocus.activateApplication=true"},
         {"windowFocus.finish=false requiresApplicationSwitch=true targetFrontmost=false "
          "targetWindowFrontmost=false"},
         {false, true, false, std::nullopt}},
        {"the caller knows that the application is in front",
         true,
         7,
         {false, true},
         kTarget,
         ok,
         {"windowFocus.targetWindowFrontmost.preActivation=false windowNumber=7",
          "windowFocus.activateApplication.skippedAlreadyFrontmost=true",
          "windowFocus.activateApplication=false"},
         {"windowFocus.targetWindowFrontmost.initial=true windowNumber=7",
          "windowFocus.finish=true requiresApplicationSwitch=false targetFrontmost=true "
          "targetWindowFrontmost=true"},
         {true, false, true, true}},
        {"the window is in front already",
         false,
         7,
         {true, true},
         kTarget,
         ok,
         {"windowFocus.targetWindowFrontmost.preActivation=true windowNumber=7",
          "windowFocus.activateApplication.skipped=true", "windowFocus.activateApplication=false"},
         {"windowFocus.targetWindowFrontmost.initial=true windowNumber=7",
          "windowFocus.finish=true requiresApplicationSwitch=false targetFrontmost=true "
          "targetWindowFrontmost=true"},
         {true, false, true, true}},
        {"the number is unknown, the steps are accepted",
         false,
         std::nullopt,
         {true, true},
         kTarget,
         ok,
         {"windowFocus.activateApplication=true"},
         {"windowFocus.finish=true requiresApplicationSwitch=true targetFrontmost=true "
          "targetWindowFrontmost=false"},
         {true, true, true, std::nullopt}},
        {"the number is unknown and every step is refused",
         false,
         std::nullopt,
         {},
         kTarget,
         bad,
         {"windowFocus.activateApplication=true"},
         {"windowFocus.finish=false requiresApplicationSwitch=true targetFrontmost=true "
          "targetWindowFrontmost=false"},
         {false, true, true, std::nullopt}},
        {"another application stays in front",
         false,
         7,
         {false, true},
         kOther,
         ok,
         {"windowFocus.targetWindowFrontmost.preActivation=false windowNumber=7",
          "windowFocus.activateApplication=true"},
         {"windowFocus.finish=false requiresApplicationSwitch=true targetFrontmost=false "
          "targetWindowFrontmost=false"},
         {false, true, false, std::nullopt}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Sequence sequence;
        sequence.isFrontmostAlready = row.isFrontmostAlready;
        sequence.checker.number = row.number;
        sequence.checker.answers = row.answers;
        sequence.frontmost = row.frontmost;
        sequence.accessibility.result = row.result;
        EXPECT_EQ(sequence.run(), row.outcome);
        EXPECT_EQ(sequence.activations, row.outcome.requiresApplicationSwitch ? 1 : 0);
        const std::string result = std::to_string(static_cast<int>(row.result));
        EXPECT_EQ(sequence.log.lines, joined({{"windowFocus.start", "windowFocus.focusedWindow=" + result,
                                               "windowFocus.initialRaise=" + result},
                                              row.decision,
                                              {"windowFocus.refreshWindow=true"},
                                              focusSteps(result),
                                              row.ending}));
    }
}

class FixedOrder : public WindowOrderingProviding {
public:
    std::vector<OrderedWindow> order;
    std::vector<OrderedWindow> windowsFrontToBack() override { return order; }
};
class HandleNumbers : public WindowNumberProviding {
public:
    std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) override {
        return window.handle == 0 ? std::nullopt : std::optional(static_cast<WindowNumber>(window.handle));
    }
};

TEST(LiveWindowFrontmostChecker, CountsOrdinaryWindowsOfOthersOnly) {
    struct Row {
        const char* name;
        std::vector<OrderedWindow> order;
        std::uintptr_t window;
        bool isFrontmost;
    };
    const Row rows[] = {
        {"first", {{7, kTarget, 0}, {8, kOther, 0}}, 7, true},
        {"second", {{8, kTarget, 0}, {7, kTarget, 0}}, 7, false},
        {"below a menu bar and our own overlay", {{1, kOther, 25}, {2, kOwn, 0}, {7, kTarget, 0}}, 7, true},
        {"the number belongs to another process", {{7, kOther, 0}}, 7, false},
        {"behind its own dialogs", {{9, kTarget, 0, 8}, {8, kTarget, 0, 7}, {7, kTarget, 0}}, 7, true},
        {"dialogs that own each other", {{9, kTarget, 0, 8}, {8, kTarget, 0, 9}}, 7, false},
        {"a dialog whose owner is not on screen", {{9, kTarget, 0, 8}, {7, kTarget, 0}}, 7, false},
        {"not on screen at all", {}, 7, false},
        {"without a number", {{7, kTarget, 0}}, 0, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        FixedOrder order;
        order.order = row.order;
        HandleNumbers numbers;
        LiveWindowFrontmostChecker checker(order, numbers, kOwn);
        EXPECT_EQ(checker.isFrontmost(kTarget, {.handle = row.window}), row.isFrontmost);
    }
}

} // namespace
} // namespace varnel
