#include "activation/RunningApplicationTable.h"

namespace varnel {

ApplicationActivation activateRunningApplication(const RunningApplicationTable& applications,
                                                 ProcessIdentifier process) {
    const auto giver = applications.frontmostProcess();
    bool accepted = giver && *giver != process && applications.activateFrom(*giver, process);
    if (!accepted)
        accepted = applications.activate(process);
    // Which application is in front is known only a turn of the main loop later.
    return {.activated = accepted};
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
