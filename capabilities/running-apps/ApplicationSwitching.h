#pragma once

#include "activation/RunningApplications.h"

#include <expected>
#include <string>
#include <vector>

namespace varnel::capability {

/// The running applications, front to back. Errors are sentences for the user.
std::expected<std::vector<RunningApplication>, std::string> listApplications();
std::expected<void, std::string> bringForward(const RunningWindow& window);

} // namespace varnel::capability
