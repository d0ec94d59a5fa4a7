#include "runtime/ProgramLocation.h"

#include "base/FileSystem.h"

#include <climits>
#include <cstdint>
#include <cstdlib>

#include <mach-o/dyld.h>

namespace varnel {

std::string programFolder() {
    char path[PATH_MAX];
    char resolved[PATH_MAX];
    std::uint32_t size = sizeof path;
    if (::_NSGetExecutablePath(path, &size) != 0 || !::realpath(path, resolved))
        return {};
    return parentPath(resolved);
}

} // namespace varnel
