#pragma once

#include "base/FileSystem.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// Writing files so that whoever looks, and whatever happens in between, sees the complete old or the
/// complete new content. The new content is written and synced under a hidden name in the same folder and
/// renamed.
namespace AtomicFile {

/// The path that `path` leads to through symbolic links; the last link's target need not exist.
FileSystem::Result<std::string> resolveLinks(FileSystem& files, std::string path);

/// Puts `content` at `path` itself, which is no link. With `like` (the file that is replaced, or whose copy
/// this is, at `likePath`) the file gets that file's permission bits and, where the system allows, its owner
/// and extended attributes; without it 0644 less the umask.
FileSystem::Result<void> write(FileSystem& files, const std::string& path, std::string_view content,
                               const std::optional<FileSystem::Info>& like = std::nullopt,
                               const std::string& likePath = {});

/// Gives the file at `path` the owner, attributes and permission bits of another one, as far as the file
/// system knows such things.
FileSystem::Result<void> adopt(FileSystem& files, const std::string& path, const FileSystem::Info& like,
                               const std::string& likePath);

/// Syncs the folder of `path`, so that a rename there outlives a power cut.
FileSystem::Result<void> syncFolderOf(FileSystem& files, const std::string& path);

/// The hidden name in the folder of `path` under which new content waits.
std::string temporaryPath(const std::string& path);
/// Removes what interrupted writes of `path` have left.
void removeStrays(FileSystem& files, const std::string& path);

} // namespace AtomicFile
} // namespace varnel
