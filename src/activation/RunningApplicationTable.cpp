#include "activation/RunningApplicationTable.h"

namespace varnel {

ApplicationActivation activateRunningApplication(const RunningApplicationTable& applications,
                                                 ProcessIdentifier process) {
    const auto giver = applications.frontmostProcess();
    bool accepted = giver && *giver != process && applications.activateFrom(*giver, process);
    if (!accepted)
        accepted = applications.activate(process);
    ApplicationActivation result{.activated = accepted, .frontmostProcess = giver};
    for (int look = 0; accepted && look < kActivationLooks && result.frontmostProcess != process; ++look) {
        applications.pause();
        result.frontmostProcess = applications.frontmostProcess();
    }
    return result;
}

std::optional<WindowElements> findWindowElements(const RunningApplicationTable& applications,
                                                 WindowNumberProviding& numbers,
                                                 const RunningWindow& window) {
    const AccessibilityElement application = applications.applicationElement(window.process);
    for (const AccessibilityElement& element : applications.windows(application))
        if (numbers.windowNumber(element) == window.id)
            return WindowElements{application, element};
    return std::nullopt;
}

} // namespace varnel
