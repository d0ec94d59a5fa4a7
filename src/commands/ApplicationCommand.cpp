#include "commands/ApplicationCommand.h"

#include "base/Localized.h"

namespace varnel {

std::optional<std::string> ApplicationCommand::execute() {
    const std::string& path = parameters_.applicationPath;
    if (path.empty())
        return std::nullopt;
    const FileURL application = FileURL::fromPath(path);
    const auto trace = [&](const char* what, const std::string& where) {
        services_.log.write(LogLevel::debug, kActivationLog, what + where);
    };

    trace("applicationCommand.start path=", path);
    if (services_.applicationActivator.open(application)) {
        trace("applicationCommand.open=true path=", path);
        return localized("Launched: %1", {application.lastPathComponent()});
    }
    trace("applicationCommand.open=false path=", path);
    if (const std::optional<FileURL> moved = openByIdentifier(application)) {
        trace("applicationCommand.bundleFallback=true path=", moved->path);
        return localized("Launched: %1", {moved->lastPathComponent()});
    }
    trace("applicationCommand.finish=false path=", path);
    return localized("Failed to launch application: %1", {parameters_.displayName});
}

std::optional<FileURL> ApplicationCommand::openByIdentifier(const FileURL& application) {
    const std::optional<std::string> identifier = services_.bundleIdentifier(application);
    if (!identifier)
        return std::nullopt;
    std::optional<FileURL> installed = services_.applicationActivator.applicationURL(*identifier);
    if (!installed || !services_.applicationActivator.open(*installed))
        return std::nullopt;
    return installed;
}

} // namespace varnel
