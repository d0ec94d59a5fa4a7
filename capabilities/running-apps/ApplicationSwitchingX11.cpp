#include "activation/x11/XcbWindowActivation.h"
#include "base/Log.h"
#include "capabilities/running-apps/ApplicationSwitching.h"

#include <unistd.h>

namespace varnel::capability {
namespace {

/// Standard error belongs to the protocol's failures.
class NoLog : public LogSink {
public:
    void write(LogLevel, std::string_view, std::string_view) override {}
};

/// One connection for the short life of the program.
std::expected<XcbDesktop*, std::string> desktop() {
    static const auto connected = XcbDesktop::connect();
    if (!connected)
        return std::unexpected(connected.error().message);
    return connected->get();
}

} // namespace

std::expected<std::vector<RunningApplication>, std::string> listApplications() {
    const auto connected = desktop();
    if (!connected)
        return std::unexpected(connected.error());
    const auto windows = (*connected)->runningWindows();
    if (!windows)
        return std::unexpected(windows.error().message);
    return runningApplications(*windows, getppid());
}

std::expected<void, std::string> bringForward(const RunningWindow& window) {
    const auto connected = desktop();
    if (!connected)
        return std::unexpected(connected.error());
    NoLog log;
    XcbWindowActivation activation(**connected, log);
    if (const auto done = activation.activate(window); !done)
        return std::unexpected(done.error().message);
    return {};
}

} // namespace varnel::capability
