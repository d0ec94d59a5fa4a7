#include "runtime/linux/WatchLimits.h"

#include "base/PosixFileSystem.h"
#include "base/UniqueFd.h"

#include <sys/inotify.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace varnel {

namespace {

std::uint64_t limit(const std::string& name) {
    std::uint64_t value = 0;
    if (const auto text = PosixFileSystem().readFile("/proc/sys/fs/inotify/" + name))
        std::from_chars(text->data(), text->data() + text->size(), value);
    return value;
}

} // namespace

DoctorWatchLimits readWatchLimits(const std::string& folder) {
    DoctorWatchLimits limits{
        .watches = limit("max_user_watches"), .instances = limit("max_user_instances"), .error = {}};
    const UniqueFd queue(::inotify_init1(IN_CLOEXEC));
    if (queue.get() < 0 ||
        (::inotify_add_watch(queue.get(), folder.c_str(), IN_MOVED_TO) < 0 && errno == ENOSPC))
        limits.error = std::strerror(errno);
    return limits;
}

} // namespace varnel
