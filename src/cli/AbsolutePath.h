#pragma once

#include "base/FileSystem.h"

#include <climits>
#include <string>
#include <unistd.h>

namespace varnel {

/// A path of the command line, seen from the working folder.
inline std::string absolutePath(const std::string& path) {
    char folder[PATH_MAX];
    if (path.starts_with('/') || !::getcwd(folder, sizeof folder))
        return standardizedPath(path);
    return standardizedPath(appendPath(folder, path));
}

} // namespace varnel
