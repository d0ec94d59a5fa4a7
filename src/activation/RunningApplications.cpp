#include "activation/RunningApplications.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>

namespace varnel {
namespace {

constexpr std::size_t kTitleLimit = 120;

bool isCalled(const RunningApplication& application, std::string_view lower) {
    const RunningWindow& window = application.windows.front();
    return lowercased(application.id) == lower || lowercased(application.name) == lower ||
           lowercased(window.instanceName) == lower || lowercased(window.applicationID) == lower;
}

} // namespace

std::string applicationKey(const RunningWindow& window) {
    return window.applicationID.empty() ? "process " + std::to_string(window.process) : window.applicationID;
}

std::vector<RunningApplication> runningApplications(const std::vector<RunningWindow>& windows,
                                                    ProcessIdentifier ownProcess) {
    std::vector<RunningApplication> result;
    for (const RunningWindow& window : windows) {
        if (window.layer != 0 || (window.process != 0 && window.process == ownProcess))
            continue;
        const std::string key = applicationKey(window);
        auto found = std::ranges::find(result, key, &RunningApplication::id);
        if (found == result.end()) {
            result.push_back(
                {.id = key,
                 .name = window.applicationName.empty() ? windowTitle(window) : window.applicationName,
                 .process = window.process,
                 .windows = {}});
            found = result.end() - 1;
        }
        found->windows.push_back(window);
    }
    return result;
}

const RunningApplication* findApplication(const std::vector<RunningApplication>& applications,
                                          std::string_view name) {
    const std::string lower = lowercased(trimmed(name));
    if (lower.empty())
        return nullptr;
    // What is chosen comes as an identifier, which another application's window may have as one of its names.
    if (const auto found = std::ranges::find(applications, name, &RunningApplication::id);
        found != applications.end())
        return &*found;
    for (const RunningApplication& application : applications)
        if (isCalled(application, lower))
            return &application;
    const RunningApplication* only = nullptr;
    for (const RunningApplication& application : applications)
        if (lowercased(application.name).starts_with(lower)) {
            if (only)
                return nullptr;
            only = &application;
        }
    return only;
}

std::string windowTitle(const RunningWindow& window) {
    std::string title = singleLine(window.title, kTitleLimit);
    if (!trimmed(title).empty())
        return title;
    return window.applicationName.empty() ? localized("Untitled window") : window.applicationName;
}

std::string windowPlace(const RunningWindow& window) {
    std::vector<std::string> parts;
    if (!window.isOnCurrentDesktop && window.desktop)
        parts.push_back(localized("Desktop %1", {std::to_string(*window.desktop + 1)}));
    if (window.isMinimized)
        parts.push_back(localized("minimised"));
    return join(parts, ", ");
}

} // namespace varnel
