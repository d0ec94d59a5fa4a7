#include "base/Localized.h"
#include "capabilities/running-apps/ApplicationSwitching.h"
#include "capabilities/support/Capability.h"

#include "base/Text.h"

#include <charconv>

using namespace varnel;
using namespace varnel::capability;

namespace {

Response list() {
    const auto applications = listApplications();
    if (!applications)
        return Response::failure(applications.error());
    if (applications->empty())
        return {true, localized("No application has a window.")};
    std::vector<std::string> names;
    for (const RunningApplication& application : *applications)
        names.push_back(application.windows.size() == 1
                            ? application.name
                            : application.name + " (" + std::to_string(application.windows.size()) + ")");
    return {true, join(names, ", ")};
}

/// A window chosen by its number ("window 4194307") may have closed since; that is said, and nothing else
/// happens.
Response activate(const Request& request) {
    constexpr std::string_view kWindow = "window ";
    const std::string choice = request.text("choice");
    const auto applications = listApplications();
    if (!applications)
        return Response::failure(applications.error());
    const RunningWindow* target = nullptr;
    if (choice.starts_with(kWindow)) {
        WindowNumber number = 0;
        std::from_chars(choice.data() + kWindow.size(), choice.data() + choice.size(), number);
        for (const RunningApplication& application : *applications)
            for (const RunningWindow& window : application.windows)
                if (window.id == number)
                    target = &window;
        if (!target)
            return Response::failure(localized("The window no longer exists."));
    } else {
        const std::string name = choice.empty() ? request.text("application") : choice;
        if (name.empty())
            return Response::failure(localized("No application was chosen."));
        const RunningApplication* application = findApplication(*applications, name);
        if (!application)
            return Response::failure(localized("'%1' is not running.", {name}));
        target = &application->windows.front();
    }
    if (const auto done = bringForward(*target); !done)
        return Response::failure(done.error());
    return {};
}

} // namespace

int main(int argc, char** argv) {
    return run(argc, argv, [](const Request& request) {
        if (request.actionID == "activate")
            return activate(request);
        if (request.actionID == "list")
            return list();
        return Response::failure(localized("There is no action '%1'.", {request.actionID}));
    });
}
