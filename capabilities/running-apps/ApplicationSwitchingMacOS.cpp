#include "activation/macos/SystemWindows.h"
#include "capabilities/running-apps/ApplicationSwitching.h"

#include <unistd.h>

namespace varnel::capability {
namespace {

/// Standard error belongs to the protocol's failures.
class NoLog : public LogSink {
public:
    void write(LogLevel, std::string_view, std::string_view) override {}
};

/// One for the short life of the program, which Varnel has started: its windows are not to be chosen.
SystemWindows& systemWindows() {
    static NoLog log;
    static SystemWindows windows(log, getppid());
    return windows;
}

} // namespace

std::expected<std::vector<RunningApplication>, std::string> listApplications() {
    const auto windows = systemWindows().windows();
    if (!windows)
        return std::unexpected(windows.error().message);
    return runningApplications(*windows, getppid());
}

std::expected<void, std::string> bringForward(const RunningWindow& window) {
    if (const auto done = systemWindows().activate(window); !done)
        return std::unexpected(done.error().message);
    return {};
}

} // namespace varnel::capability
