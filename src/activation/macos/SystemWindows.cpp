#include "activation/macos/SystemWindows.h"

namespace varnel {

PrivateWindowServer systemWindowServer() {
    const SymbolLoader loader = systemSymbolLoader();
    return {loadSkyLightSymbols(loader), loadHIServicesSymbols(loader), systemNativeValues(),
            frontmostRunningProcess};
}

SystemWindows::SystemWindows(LogSink& log, ProcessIdentifier ownProcess)
    : privateServer_(systemWindowServer())
    , numbers_(privateServer_)
    , list_(systemWindowList())
    , applications_(systemRunningApplications())
    , accessibility_(systemAccessibility_)
    , listing_(list_, applications_, accessibility_, privateServer_)
    , ordering_(list_)
    , frontmostChecker_(ordering_, numbers_, ownProcess)
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
                  ownProcess, log) {}

} // namespace varnel
