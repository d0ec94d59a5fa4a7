#include "capabilities/running-apps/ApplicationSwitching.h"

namespace varnel::capability {
namespace {

std::unexpected<std::string> unavailable() {
    return std::unexpected<std::string>(
        "Switching between running applications is not available on this system yet.");
}

} // namespace

std::expected<std::vector<RunningApplication>, std::string> listApplications() {
    return unavailable();
}
std::expected<void, std::string> bringForward(const RunningWindow&) {
    return unavailable();
}

} // namespace varnel::capability
