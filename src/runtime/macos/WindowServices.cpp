#include "runtime/WindowServices.h"

#include "commands/macos/SystemCommands.h"
#include "runtime/macos/MacWindowServices.h"

#include <unistd.h>

namespace varnel {

MacWindowServices::MacWindowServices(LogSink& log)
    : privateServer_(loadSkyLightSymbols(systemSymbolLoader()), loadHIServicesSymbols(systemSymbolLoader()),
                     systemNativeValues(), frontmostRunningProcess)
    , numbers_(privateServer_)
    , listing_(&privateServer_)
    , applications_(systemRunningApplications())
    , frontmostChecker_(ordering_, numbers_, getpid())
    , coordinator_(accessibility_, frontmostChecker_, frontmostRunningProcess, log)
    , activation_(coordinator_, &privateServer_,
                  {.findElements =
                       [this](const RunningWindow& window) {
                           return findWindowElements(applications_, numbers_, window);
                       },
                   .activateApplication =
                       [this](const RunningWindow& window) {
                           return activateRunningApplication(applications_, window.process);
                       },
                   .frontmostProcess = frontmostRunningProcess},
                  getpid(), log) {}

std::optional<WindowNumber> MacWindowServices::frontWindowOf(const std::string& applicationPath) {
    const auto identifier = systemWorkspace().bundleIdentifier(FileURL::fromPath(applicationPath));
    const auto all = windows();
    if (!identifier || !all)
        return std::nullopt;
    for (const RunningWindow& window : *all)
        if (window.layer == 0 && window.applicationID == *identifier)
            return window.id;
    return std::nullopt;
}

std::expected<std::unique_ptr<WindowServices>, WindowError> openWindowServices(LogSink& log) {
    return std::make_unique<MacWindowServices>(log);
}

} // namespace varnel
