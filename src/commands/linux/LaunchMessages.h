#pragma once

#include "commands/linux/ProgramLoading.h"

#include <cstddef>
#include <cstdint>

namespace varnel {

/// What goes to the launcher, over a socket that keeps messages apart: this, then the strings "program",
/// "folder", the arguments and the environment, each ended by a zero byte.
struct LaunchRequest {
    std::uint32_t argumentCount = 0;
    std::uint32_t environmentCount = 0;
};

/// What comes back.
struct LaunchReply {
    LoadingStep step = LoadingStep::createProcess;
    std::int32_t failure = 0; ///< the system's number; 0: it runs
};

inline constexpr std::size_t kLargestLaunchMessage = std::size_t{128} * 1024;
inline constexpr std::size_t kMostLaunchStrings = 8192;

} // namespace varnel
