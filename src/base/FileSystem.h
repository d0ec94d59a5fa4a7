#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A failed system call: what it was doing, on which path, and the error number.
struct FileError {
    std::string operation; ///< "read", "rename", …
    std::string path;
    int code = 0;
    friend bool operator==(const FileError&, const FileError&) = default;
};
/// "Could not <operation> <path>: <system's text>".
std::string describe(const FileError& error);

/// The system calls that touching files takes, one each, so that a test can fail or end the process at the
/// n-th. Paths are absolute. Any thread.
class FileSystem {
public:
    virtual ~FileSystem() = default;
    template <typename T>
    using Result = std::expected<T, FileError>;

    struct Info {
        enum class Kind { file, folder, link, other } kind = Kind::other;
        std::uint64_t size = 0;
        std::uint32_t mode = 0; ///< permission bits
        std::uint64_t device = 0, inode = 0;
        std::uint32_t owner = 0, group = 0;
    };
    virtual Result<Info> info(const std::string& path, bool followLinks = true) = 0;
    virtual Result<std::string> readFile(const std::string& path) = 0;
    virtual Result<std::string> readLink(const std::string& path) = 0;
    virtual Result<void> makeFolder(const std::string& path) = 0;
    /// A new file (it must not exist) with this content, written and synced to the disk; `mode` is reduced by
    /// the umask. On failure no file is left.
    virtual Result<void> writeNewFile(const std::string& path, std::string_view content,
                                      std::uint32_t mode) = 0;
    virtual Result<void> setMode(const std::string& path, std::uint32_t mode) = 0;
    virtual Result<void> setOwner(const std::string& path, std::uint32_t owner, std::uint32_t group) = 0;
    virtual Result<void> copyAttributes(const std::string& from,
                                        const std::string& to) = 0; ///< extended attributes
    virtual Result<void> rename(const std::string& from, const std::string& to) = 0;
    virtual Result<void> remove(const std::string& path) = 0;
    virtual Result<void> syncFolder(const std::string& path) = 0;
    virtual Result<std::vector<std::string>> list(const std::string& folder) = 0;

    /// Conveniences over the calls above.
    bool exists(const std::string& path);
    Result<void>
    makeFolders(const std::string& path); ///< with intermediate folders, mode 0755 less the umask
};

/// The real one.
class PosixFileSystem;

/// Pure path arithmetic: "/a/b/c" -> "/a/b", "c".
std::string parentPath(std::string_view path);
std::string lastPathComponent(std::string_view path);
std::string appendPath(std::string_view folder, std::string_view name);
/// "." and ".." components resolved without looking at the disk, no trailing slash.
std::string standardizedPath(std::string_view path);

} // namespace varnel
