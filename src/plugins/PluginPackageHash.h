#pragma once

#include <cstdint>
#include <ctime>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// Why a package has no hash, or may not be used.
struct PluginPackageHashError {
    enum class Kind {
        symbolicLink,     ///< links are never followed, even inside the package
        unsupportedEntry, ///< a socket, a pipe, a device
        escapingPath,     ///< an entry that is not below the package
        invalidName,      ///< a file name that is not UTF-8
        unreadable,       ///< `code` says why
        changed,          ///< a file grew or shrank while it was read
        tooLarge,         ///< more bytes than the caller allows
    };
    Kind kind = Kind::unreadable;
    std::string path; ///< of the entry
    int code = 0;     ///< error number, for `unreadable`
    friend bool operator==(const PluginPackageHashError&, const PluginPackageHashError&) = default;
};
/// The sentence for the user; always valid UTF-8.
std::string describe(const PluginPackageHashError& error);

/// The path as a message can show it: bytes that are not UTF-8 as \xNN.
std::string readablePath(const std::string& path);

/// What the system says about one file of a package. Two equal listings, taken some time after the last
/// change, mean that nobody has written to the package in between.
struct PluginPackageEntry {
    std::string relativePath; ///< "/" between components, none in front
    std::uint64_t size = 0;
    std::uint32_t mode = 0; ///< permission bits, set-user-ID included
    std::uint64_t device = 0, inode = 0;
    std::int64_t modified = 0, changed = 0; ///< nanoseconds since 1970
    friend bool operator==(const PluginPackageEntry&, const PluginPackageEntry&) = default;
};

struct PluginPackageListing {
    std::vector<PluginPackageEntry> files;   ///< ascending by the bytes of `relativePath`
    std::vector<PluginPackageEntry> folders; ///< likewise; the package itself is ""
    friend bool operator==(const PluginPackageListing&, const PluginPackageListing&) = default;
};

/// Walks the package without opening files. Never blocks on special files.
std::expected<PluginPackageListing, PluginPackageHashError> listPluginPackage(std::string_view packageFolder);

/// A message when a file is set-user-ID or set-group-ID, or a file or folder can be written by everybody.
std::optional<std::string> unsafePermissions(const PluginPackageListing& listing,
                                             std::string_view packageFolder);

inline constexpr std::uint64_t kUnlimitedPackageSize = UINT64_MAX;

/// SHA-256 over every file's path and content in the order of their paths, as 64 lower-case hexadecimal
/// digits. Streams in constant memory; any thread.
std::expected<std::string, PluginPackageHashError>
hashPluginPackage(std::string_view packageFolder, std::uint64_t maximumBytes = kUnlimitedPackageSize);
std::expected<std::string, PluginPackageHashError>
hashPluginPackage(std::string_view packageFolder, const PluginPackageListing& listing,
                  std::uint64_t maximumBytes = kUnlimitedPackageSize);
/// The same while writing the very bytes that are hashed below `target`, an existing empty folder: files
/// become readable (and executable where they were) by their owner only, folders stay writable.
std::expected<std::string, PluginPackageHashError> copyPluginPackage(std::string_view packageFolder,
                                                                     const PluginPackageListing& listing,
                                                                     const std::string& target);

/// Relative path to that file's own SHA-256.
using PluginFileDigests = std::map<std::string, std::string, std::less<>>;
std::expected<PluginFileDigests, PluginPackageHashError>
digestPluginFiles(std::string_view packageFolder, const PluginPackageListing& listing);

/// How a package differs from what was trusted.
struct PluginPackageChanges {
    std::vector<std::string> added, changed, removed; ///< relative paths, ascending
    friend bool operator==(const PluginPackageChanges&, const PluginPackageChanges&) = default;
};
PluginPackageChanges comparePluginFiles(const PluginFileDigests& before, const PluginFileDigests& after);
/// "Added: a. Changed: b, c. Removed: d."; at most `limit` names of each kind. Empty when nothing changed.
std::string describe(const PluginPackageChanges& changes, std::size_t limit = 10);

} // namespace varnel
