#pragma once

#include <expected>
#include <string>
#include <vector>

namespace varnel::capability {

/// The argument vector that opens the terminal application and runs the command there with /bin/sh; the shell
/// stays when the command has ended. `application` is a name of the system's ("terminal" or empty: the
/// default one) or a program. The error is a sentence.
std::expected<std::vector<std::string>, std::string> terminalCommandLine(const std::string& application,
                                                                         const std::string& command);

} // namespace varnel::capability
