#include "runtime/WindowServices.h"

#include "commands/macos/SystemCommands.h"
#include "runtime/macos/MacWindowServices.h"

#include <unistd.h>

namespace varnel {

MacWindowServices::MacWindowServices(LogSink& log)
    : windows_(log, getpid()) {}

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
