#pragma once

#include "base/TimePoint.h"

#include <spawn.h>
#include <sys/types.h>

#include <expected>
#include <memory>
#include <string>

namespace varnel {

/// Makes a pipe whose ends are close-on-exec: from the first moment where the system can do that. Returns an
/// error number, 0 for success.
int openProcessPipe(int ends[2]);

/// Makes a spawned child start without any descriptor of ours but those that its file actions name, also
/// without those that we inherited ourselves. Returns an error number, 0 for success.
int closeOtherDescriptors(posix_spawn_file_actions_t& actions);
/// Spawn flags of this system to the same end.
short extraSpawnFlags();

/// False when the system refuses to run programs from this folder.
bool mayRunProgramsIn(const std::string& folder);

/// Watches one child of ours until it ends, and reaps it. Nobody else may wait for that child.
class ChildExit {
public:
    /// A child that still runs is then waited for in the background, so that it leaves no zombie.
    virtual ~ChildExit() = default;
    /// True once the child has ended. A deadline in the past only asks.
    virtual bool waitUntil(TimePoint deadline) = 0;
    /// Reaps the child that has ended: its wait status, or the error number. Once.
    virtual std::expected<int, int> collect() = 0;
};

/// The cheapest way of this system.
std::unique_ptr<ChildExit> watchChildExit(pid_t child);
/// Works everywhere: a thread sits in `waitpid`. Reaps at once, so the child's number may be taken again
/// before `collect`.
std::unique_ptr<ChildExit> watchChildExitByThread(pid_t child);

} // namespace varnel
