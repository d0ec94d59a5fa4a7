#include "commands/FileURL.h"

#include "base/FileSystem.h"

#include <unistd.h>

#include <climits>

namespace varnel {

namespace {

std::string workingFolder() {
    char buffer[PATH_MAX];
    return ::getcwd(buffer, sizeof buffer) ? buffer : "/";
}

} // namespace

FileURL FileURL::fromPath(std::string_view path) {
    FileURL url;
    url.writtenPath = path;
    url.path = path.starts_with('/') ? std::string(path) : appendPath(workingFolder(), path);
    while (url.path.size() > 1 && url.path.ends_with('/'))
        url.path.pop_back();
    return url;
}

std::string FileURL::lastPathComponent() const {
    return path == "/" ? path : varnel::lastPathComponent(path);
}

} // namespace varnel
