#include "commands/x11/DesktopApplicationWindows.h"

#include <unistd.h>

namespace varnel {

std::vector<ApplicationWindow> DesktopApplicationWindows::windows() {
    std::vector<ApplicationWindow> found;
    for (DesktopWindow& window : desktop_.clientWindows())
        if (window.layer == 0 && window.process != ::getpid())
            found.push_back({.id = window.id,
                             .process = window.process,
                             .instanceName = std::move(window.instanceName),
                             .className = std::move(window.className)});
    return found;
}

bool DesktopApplicationWindows::activate(WindowNumber window) {
    return desktop_.activate(window, XcbDesktop::Wait::no).has_value();
}

} // namespace varnel
