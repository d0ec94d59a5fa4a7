#include "base/UniqueFd.h"
#include "plugins/ProcessSystem.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

namespace varnel {

namespace {

/// A descriptor that becomes readable when the child has ended; it stays a zombie, its number taken, until
/// `collect`.
class PidfdChildExit : public ChildExit {
public:
    PidfdChildExit(pid_t child, UniqueFd descriptor)
        : child_(child)
        , descriptor_(std::move(descriptor)) {}

    ~PidfdChildExit() override {
        int status;
        if (!isCollected_ && ::waitpid(child_, &status, WNOHANG) == 0)
            watchChildExitByThread(child_);
    }

    bool waitUntil(TimePoint deadline) override {
        for (;;) {
            auto left =
                std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            pollfd watched{descriptor_.get(), POLLIN, 0};
            int count =
                ::poll(&watched, 1, static_cast<int>(std::clamp<long long>(left.count(), 0, 1 << 30)));
            if (count > 0)
                return true;
            if (left.count() <= 0)
                return false;
        }
    }

    std::expected<int, int> collect() override {
        isCollected_ = true;
        int status = 0;
        while (::waitpid(child_, &status, 0) < 0)
            if (errno != EINTR)
                return std::unexpected(errno);
        return status;
    }

private:
    pid_t child_;
    UniqueFd descriptor_;
    bool isCollected_ = false;
};

} // namespace

int openProcessPipe(int ends[2]) {
    return ::pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno;
}

int closeOtherDescriptors(posix_spawn_file_actions_t& actions) {
    return ::posix_spawn_file_actions_addclosefrom_np(&actions, 3);
}

short extraSpawnFlags() {
    return 0;
}

bool mayRunProgramsIn(const std::string& folder) {
    struct statvfs info {};
    return ::statvfs(folder.c_str(), &info) == 0 && !(info.f_flag & ST_NOEXEC);
}

std::unique_ptr<ChildExit> watchChildExit(pid_t child) {
    UniqueFd descriptor(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    if (!descriptor)
        return watchChildExitByThread(child); // an old kernel, or no descriptors left
    return std::make_unique<PidfdChildExit>(child, std::move(descriptor));
}

} // namespace varnel
