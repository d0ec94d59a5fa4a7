#pragma once

#include "capabilities/support/Capability.h"

#include <chrono>
#include <string>

namespace varnel::capability {

struct ShellCommand {
    std::string command;
    bool openInTerminal = false;
    std::string terminalApplication; ///< "terminal" or empty: the system's own
};

/// A command that ends within this time is reported with its exit status, a longer one as started.
inline constexpr std::chrono::milliseconds kReportWithin{2000};
/// A terminal that is still there after this time has opened.
inline constexpr std::chrono::milliseconds kTerminalOpensWithin{300};

/// Runs the command in a process group of its own, in the home folder, with no descriptor of ours but a pipe
/// for its standard error. A command that goes on stays when this program ends; its standard error is then
/// read and dropped, so that it never blocks nor dies of a closed pipe.
Response runShellCommand(const ShellCommand& command);

} // namespace varnel::capability
