#pragma once

#include "base/UniqueFd.h"
#include "plugins/PluginProcessRunner.h"

#include <sys/types.h>

#include <expected>
#include <string>
#include <string_view>

namespace varnel {

/// The two ends of an anonymous pipe, close-on-exec and numbered 3 or higher.
struct PluginPipe {
    UniqueFd readEnd, writeEnd;
};

struct PluginPipes {
    PluginPipe standardInput, standardOutput, standardError;

    static std::expected<PluginPipes, PluginProcessError> open();
};

/// Starts the executable as leader of a new process group whose number is its own, with the pipes as its
/// standard descriptors and no other descriptor of ours, signals unblocked and those that end a process at
/// their default. The working folder and the environment are ours.
std::expected<pid_t, PluginProcessError> spawnPlugin(const std::string& executable,
                                                     std::string_view commandWord, const PluginPipes& pipes);

} // namespace varnel
