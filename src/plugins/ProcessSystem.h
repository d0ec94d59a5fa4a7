#pragma once

#include "base/TimePoint.h"

#include <sys/types.h>

#include <expected>
#include <memory>
#include <string>

namespace varnel {

/// Makes a pipe whose ends are close-on-exec: from the first moment where the system can do that. Returns an
/// error number, 0 for success.
int openProcessPipe(int ends[2]);

/// Spawn flags of this system beyond those of POSIX: where pipes cannot be made close-on-exec at once, the
/// one that gives a child only the descriptors that it is meant to have.
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
