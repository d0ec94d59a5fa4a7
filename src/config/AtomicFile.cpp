#include "config/AtomicFile.h"

#include "base/Uuid.h"

#include <cerrno>

namespace varnel::AtomicFile {
namespace {

using Info = FileSystem::Info;
template <typename T>
using Result = FileSystem::Result<T>;

constexpr int kMaximumLinks = 40;
constexpr std::uint32_t kNewFileMode = 0644;
constexpr std::string_view kTemporarySuffix = ".tmp";

/// Some file systems have no owners, attributes or folder syncing, and only root gives files away.
bool isRefusal(const FileError& error) {
    return error.code == EPERM || error.code == ENOTSUP || error.code == EOPNOTSUPP || error.code == ENOSYS ||
           error.code == EINVAL;
}

Result<void> tolerant(Result<void> result) {
    if (!result && isRefusal(result.error()))
        return {};
    return result;
}

} // namespace

Result<std::string> resolveLinks(FileSystem& files, std::string path) {
    for (int count = 0; count < kMaximumLinks; ++count) {
        const auto info = files.info(path, false);
        if (!info && info.error().code != ENOENT)
            return std::unexpected(info.error());
        if (!info || info->kind != Info::Kind::link)
            return path;
        const auto target = files.readLink(path);
        if (!target)
            return std::unexpected(target.error());
        path = target->starts_with('/') ? *target : appendPath(parentPath(path), *target);
    }
    return std::unexpected(FileError{"follow", path, ELOOP});
}

Result<void> adopt(FileSystem& files, const std::string& path, const Info& like,
                   const std::string& likePath) {
    // Changing the owner clears permission bits and some attributes, so it comes first.
    if (auto owned = tolerant(files.setOwner(path, like.owner, like.group)); !owned)
        return owned;
    if (auto copied = tolerant(files.copyAttributes(likePath, path)); !copied)
        return copied;
    return tolerant(files.setMode(path, like.mode));
}

Result<void> syncFolderOf(FileSystem& files, const std::string& path) {
    return tolerant(files.syncFolder(parentPath(path)));
}

std::string temporaryPath(const std::string& path) {
    const std::string name = "." + lastPathComponent(path) + "." + Uuid::random().text();
    return appendPath(parentPath(path), name + std::string(kTemporarySuffix));
}

void removeStrays(FileSystem& files, const std::string& path) {
    const std::string folder = parentPath(path);
    const std::string prefix = "." + lastPathComponent(path) + ".";
    const auto names = files.list(folder);
    if (!names)
        return;
    for (std::string_view name : *names) {
        if (!name.starts_with(prefix) || !name.ends_with(kTemporarySuffix))
            continue;
        name.remove_prefix(prefix.size());
        if (name.size() > kTemporarySuffix.size() &&
            Uuid::parse(name.substr(0, name.size() - kTemporarySuffix.size())))
            (void)files.remove(appendPath(folder, prefix + std::string(name)));
    }
}

Result<void> write(FileSystem& files, const std::string& path, std::string_view content,
                   const std::optional<Info>& like, const std::string& likePath) {
    const std::string temporary = temporaryPath(path);
    auto done = files.writeNewFile(temporary, content, like ? like->mode : kNewFileMode);
    if (!done)
        return done;
    if (like)
        done = adopt(files, temporary, *like, likePath);
    if (done)
        done = files.rename(temporary, path);
    if (!done) {
        (void)files.remove(temporary);
        return done;
    }
    return syncFolderOf(files, path);
}

} // namespace varnel::AtomicFile
