#include "commands/ApplicationActivationCoordinator.h"

namespace varnel {

namespace {

const char* text(bool value) {
    return value ? "true" : "false";
}

} // namespace

bool ApplicationActivationCoordinator::open(const FileURL& application) {
    const std::string path = application.path;
    const auto trace = [&](const std::string& line) { log_.write(LogLevel::debug, kActivationLog, line); };

    trace("open.start path=" + path);
    const bool exists = files_.exists(path);
    if (exists) {
        const OpenConfiguration configuration{.activates = true,
                                              .allowsRunningApplicationSubstitution = true};
        launcher_.requestOpen(application, configuration, [&log = log_, path](const OpenOutcome& outcome) {
            const bool succeeded = outcome.hasApplication && !outcome.error;
            log.write(LogLevel::debug, kActivationLog,
                      std::string("open.workspace.completion result=") + text(succeeded) + " path=" + path +
                          " error=" + outcome.error.value_or("nil"));
        });
    }
    trace(std::string("open.workspace.result=") + text(exists) + " path=" + path);
    if (exists)
        return true;
    const bool opened = launcher_.open(application);
    trace(std::string("open.direct.result=") + text(opened) + " path=" + path);
    return opened;
}

std::optional<FileURL> ApplicationActivationCoordinator::applicationURL(const std::string& bundleIdentifier) {
    return launcher_.applicationURL(bundleIdentifier);
}

} // namespace varnel
