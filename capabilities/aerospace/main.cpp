#include "base/Localized.h"
#include "base/Text.h"
#include "capabilities/support/Capability.h"
#include "capabilities/support/ChildRun.h"
#include "commands/WindowManagerOperations.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/wait.h>

using namespace varnel;
using namespace varnel::capability;

namespace {

/// Less than the time that the application gives a plugin.
constexpr std::chrono::milliseconds kToolLimit{4000};

Response runTool(const std::vector<std::string>& line) {
    auto child = ChildRun::start(line);
    if (!child && (child.error() == ENOENT || child.error() == ENOTDIR))
        return Response::failure(
            localized("The tool 'aerospace' was not found. Install the AeroSpace window manager, or put "
                      "its tool into a folder of PATH."));
    if (!child)
        return Response::failure(
            localized("Could not start %1: %2", {"aerospace", std::strerror(child.error())}));
    const auto status = child->wait(kToolLimit);
    if (!status) {
        child->end();
        return Response::failure(localized("aerospace did not answer within 4 seconds."));
    }
    if (WIFEXITED(*status) && WEXITSTATUS(*status) == 0)
        return {};
    return Response::failure(describeEnd("aerospace", *status, child->errorLine()));
}

Response perform(const Request& request) {
    if (request.actionID != "run")
        return Response::failure(localized("There is no action '%1'.", {request.actionID}));
    const std::string id = request.params.contains("operation") ? request.text("operation")
                                                                : std::string(kDefaultWindowManagerOperation);
    const WindowManagerOperation* operation = findWindowManagerOperation(id);
    if (!operation)
        return Response::failure(localized("There is no window-manager operation '%1'.", {id}));
    const std::string_view key = parameterName(operation->needs);
    const auto line = windowManagerCommandLine(*operation, key.empty() ? std::string() : request.text(key));
    if (!line)
        return Response::failure(line.error());
    // An application started by the desktop has a short PATH; the tool is usually installed in these.
    const char* path = std::getenv("PATH");
    ::setenv(
        "PATH",
        ((path ? std::string(path) + ":" : std::string()) + "/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin")
            .c_str(),
        1);
    return runTool(*line);
}

} // namespace

int main(int argc, char** argv) {
    return run(argc, argv, perform);
}
