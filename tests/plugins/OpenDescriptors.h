#pragma once

#include <dirent.h>

namespace varnel::testing {

inline int openDescriptors() {
    int count = 0;
    DIR* folder = ::opendir("/proc/self/fd");
    while (::readdir(folder))
        ++count;
    ::closedir(folder);
    return count;
}

} // namespace varnel::testing
