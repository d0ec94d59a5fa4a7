#pragma once

#include "base/TimePoint.h"

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>

namespace varnel {

struct PluginProcessLimits {
    Duration timeout = 5s; ///< from the start of the process to its end and that of its output
    std::size_t maximumOutputBytes = 1048576; ///< standard output and error together
    Duration terminationGrace = 250ms;        ///< between SIGTERM and SIGKILL
};

struct PluginProcessError {
    enum class Kind { missingExecutable, launchFailed, timedOut, outputLimitExceeded, invalidResponse };
    Kind kind = Kind::launchFailed;
    std::string detail;    ///< the path, the message, the command word, or the message, by kind
    std::size_t limit = 0; ///< for `outputLimitExceeded`
    int code = 0;          ///< the system's error number, for `launchFailed`
    friend bool operator==(const PluginProcessError&, const PluginProcessError&) = default;
};
/// The sentence for the user.
std::string describe(const PluginProcessError& error);

struct PluginProcessResult {
    int exitStatus = 0; ///< 128 + signal number when a signal ended the process
    std::string standardOutput;
    std::string standardError;
};

/// Starts `executable` with `commandWord` as its only argument, in a process group of its own, writes `input`
/// to its standard input, and collects its output until it has ended and closed its output. Past the time-out
/// the group gets SIGTERM, then SIGKILL. Blocks at most for the time-out and twice the grace; any thread,
/// several at once. Nothing of the run is left behind on any path: no descriptor, no zombie, no thread that
/// waits for output.
std::expected<PluginProcessResult, PluginProcessError> runPluginProcess(const std::string& executable,
                                                                        std::string_view commandWord,
                                                                        std::string_view input,
                                                                        const PluginProcessLimits& limits);

} // namespace varnel
