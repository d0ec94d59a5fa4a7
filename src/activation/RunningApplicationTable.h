#pragma once

#include "activation/RunningWindowActivation.h"

#include <functional>
#include <optional>
#include <vector>

namespace varnel {

/// What the workspace and the accessibility service of macOS offer about running applications. Any thread.
struct RunningApplicationTable {
    std::function<std::optional<ProcessIdentifier>()> frontmostProcess;
    /// Asks that `process` come forward, naming the application that gives its place up. False when refused.
    std::function<bool(ProcessIdentifier giver, ProcessIdentifier process)> activateFrom;
    std::function<bool(ProcessIdentifier process)> activate;
    /// The accessibility element of a process; made even where the process does not answer.
    std::function<AccessibilityElement(ProcessIdentifier process)> applicationElement;
    std::function<std::vector<AccessibilityElement>(const AccessibilityElement& application)> windows;
    /// Lets a few milliseconds pass, and the workspace learn what has happened meanwhile.
    std::function<void()> pause;
};

/// How often activation looks whether the application has come forward, with a pause before each look.
inline constexpr int kActivationLooks = 25;

/// Since macOS 14 an application that is not in front itself is heard best when it names the one that is;
/// where that is refused, or nobody is in front, it asks plainly. What was accepted is carried out a little
/// later: it is waited for, within bounds, and the process seen in front then is reported.
ApplicationActivation activateRunningApplication(const RunningApplicationTable& applications,
                                                 ProcessIdentifier process);

/// The elements of a window, known by its number; none when the application does not offer it.
std::optional<WindowElements> findWindowElements(const RunningApplicationTable& applications,
                                                 WindowNumberProviding& numbers, const RunningWindow& window);

} // namespace varnel
