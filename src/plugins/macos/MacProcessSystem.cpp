#include "plugins/ProcessSystem.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <unistd.h>

#include <cerrno>

namespace varnel {

int openProcessPipe(int ends[2]) {
    if (::pipe(ends) != 0)
        return errno;
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    return 0;
}

int closeOtherDescriptors(posix_spawn_file_actions_t&) {
    return 0; // the flag below does it
}

short extraSpawnFlags() {
    return POSIX_SPAWN_CLOEXEC_DEFAULT;
}

bool mayRunProgramsIn(const std::string& folder) {
    struct statfs info {};
    return ::statfs(folder.c_str(), &info) == 0 && !(info.f_flags & MNT_NOEXEC);
}

std::unique_ptr<ChildExit> watchChildExit(pid_t child) {
    return watchChildExitByThread(child);
}

} // namespace varnel
