#include "base/FileSystem.h"

#include <cerrno>
#include <system_error>

namespace varnel {

std::string describe(const FileError& error) {
    return "Could not " + error.operation + " " + error.path + ": " +
           std::generic_category().message(error.code);
}

bool FileSystem::exists(const std::string& path) {
    return info(path).has_value();
}

FileSystem::Result<void> FileSystem::makeFolders(const std::string& path) {
    const auto made = makeFolder(path);
    if (made)
        return {};
    const std::string parent = parentPath(path);
    if (made.error().code == ENOENT && !parent.empty() && parent != path) {
        if (auto above = makeFolders(parent); !above)
            return above;
        const auto again = makeFolder(path);
        if (again || again.error().code != EEXIST)
            return again;
    } else if (made.error().code != EEXIST) {
        return made;
    }
    const auto present = info(path);
    if (present && present->kind == Info::Kind::folder)
        return {};
    return std::unexpected(FileError{"create the folder", path, ENOTDIR});
}

std::string parentPath(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    const auto slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return {};
    path = path.substr(0, slash);
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return path.empty() ? "/" : std::string(path);
}

std::string lastPathComponent(std::string_view path) {
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return std::string(path.substr(path.rfind('/') + 1));
}

std::string appendPath(std::string_view folder, std::string_view name) {
    while (name.starts_with('/') && !folder.empty())
        name.remove_prefix(1);
    if (folder.empty() || folder.ends_with('/'))
        return std::string(folder).append(name);
    return std::string(folder).append("/").append(name);
}

std::string standardizedPath(std::string_view path) {
    const bool absolute = path.starts_with('/');
    std::vector<std::string_view> kept;
    while (!path.empty()) {
        const auto slash = path.find('/');
        const std::string_view part = path.substr(0, slash);
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
        if (part.empty() || part == ".")
            continue;
        if (part != "..")
            kept.push_back(part);
        else if (!kept.empty() && kept.back() != "..")
            kept.pop_back();
        else if (!absolute)
            kept.push_back(part);
    }
    std::string out = absolute ? "/" : "";
    for (std::size_t i = 0; i < kept.size(); ++i)
        out.append(i ? "/" : "").append(kept[i]);
    return out;
}

} // namespace varnel
