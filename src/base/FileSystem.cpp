#include "base/FileSystem.h"

#include "base/Localized.h"

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace varnel {

namespace {

/// What could not be done, and why. An operation that is not listed is told in English.
constexpr std::pair<std::string_view, std::string_view> kSentences[] = {
    {"look at", "Could not look at %1: %2"},
    {"read", "Could not read %1: %2"},
    {"read the link", "Could not read the link %1: %2"},
    {"follow", "Could not follow %1: %2"},
    {"list", "Could not list %1: %2"},
    {"create", "Could not create %1: %2"},
    {"create the folder", "Could not create the folder %1: %2"},
    {"write", "Could not write %1: %2"},
    {"replace", "Could not replace %1: %2"},
    {"rename", "Could not rename %1: %2"},
    {"remove", "Could not remove %1: %2"},
    {"sync", "Could not sync %1: %2"},
    {"set the permissions of", "Could not set the permissions of %1: %2"},
    {"set the owner of", "Could not set the owner of %1: %2"},
    {"copy the extended attributes to", "Could not copy the extended attributes to %1: %2"},
};

} // namespace

std::string describe(const FileError& error) {
    const std::string reason = std::generic_category().message(error.code);
    for (const auto& [operation, sentence] : kSentences)
        if (operation == error.operation)
            return localized(sentence, {error.path, reason});
    return "Could not " + error.operation + " " + error.path + ": " + reason;
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
        const bool climbs = part == "..";
        if (climbs && !kept.empty() && kept.back() != "..")
            kept.pop_back();
        else if (!climbs || !absolute)
            kept.push_back(part);
    }
    std::string out = absolute ? "/" : "";
    for (std::size_t i = 0; i < kept.size(); ++i)
        out.append(i ? "/" : "").append(kept[i]);
    return out;
}

} // namespace varnel
