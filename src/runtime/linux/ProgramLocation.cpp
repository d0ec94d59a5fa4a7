#include "runtime/ProgramLocation.h"

#include "base/FileSystem.h"

#include <climits>
#include <unistd.h>

namespace varnel {

std::string programFolder() {
    char path[PATH_MAX];
    ssize_t size = ::readlink("/proc/self/exe", path, sizeof path);
    return size > 0 ? parentPath({path, static_cast<std::size_t>(size)}) : std::string();
}

} // namespace varnel
