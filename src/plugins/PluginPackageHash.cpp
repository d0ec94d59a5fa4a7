#include "plugins/PluginPackageHash.h"

#include "base/FileSystem.h"
#include "base/Localized.h"
#include "base/Sha256.h"
#include "base/Text.h"
#include "base/UniqueFd.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>
#include <system_error>

#ifdef __APPLE__
#define st_mtim st_mtimespec
#define st_ctim st_ctimespec
#endif

namespace varnel {

namespace {

using Kind = PluginPackageHashError::Kind;
// Small enough to stay in the processor's second cache between reading and hashing.
constexpr std::size_t kBufferSize = std::size_t{128} * 1024;

/// The package as an open folder; entries are reached from it by their relative paths.
class Package {
public:
    explicit Package(std::string_view folder)
        : path_(standardizedPath(folder)) {}

    std::expected<void, PluginPackageHashError> open() {
        struct stat info {};
        if (::lstat(path_.c_str(), &info) != 0)
            return std::unexpected(failure(""));
        if (S_ISLNK(info.st_mode))
            return std::unexpected(failure(Kind::symbolicLink, ""));
        folder_.reset(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!folder_)
            return std::unexpected(failure(""));
        return {};
    }

    [[nodiscard]] int descriptor() const { return folder_.get(); }
    [[nodiscard]] std::string pathOf(const std::string& relative) const {
        return relative.empty() ? path_ : appendPath(path_, relative);
    }
    /// True when `relative` lies below the package: only the root folder, whose path ends in a slash, has
    /// none.
    [[nodiscard]] bool contains(const std::string& relative) const {
        return pathOf(relative).starts_with(path_ + "/");
    }
    [[nodiscard]] PluginPackageHashError failure(Kind kind, const std::string& relative) const {
        return {kind, pathOf(relative), 0};
    }
    /// The failure that `errno` tells of.
    [[nodiscard]] PluginPackageHashError failure(const std::string& relative) const {
        if (errno == ELOOP)
            return failure(Kind::symbolicLink, relative);
        return {Kind::unreadable, pathOf(relative), errno};
    }

private:
    std::string path_;
    UniqueFd folder_;
};

std::int64_t nanoseconds(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

PluginPackageEntry entryOf(std::string relativePath, const struct stat& info) {
    return {.relativePath = std::move(relativePath),
            .size = static_cast<std::uint64_t>(info.st_size),
            .mode = static_cast<std::uint32_t>(info.st_mode & 07777),
            .device = static_cast<std::uint64_t>(info.st_dev),
            .inode = static_cast<std::uint64_t>(info.st_ino),
            .modified = nanoseconds(info.st_mtim),
            .changed = nanoseconds(info.st_ctim)};
}

/// Lists one package, folder by folder: at most two descriptors are open at any depth.
class Walk {
public:
    explicit Walk(const Package& package)
        : package_(package) {}

    std::expected<PluginPackageListing, PluginPackageHashError> run() {
        struct stat info {};
        if (::fstat(package_.descriptor(), &info) != 0)
            return std::unexpected(package_.failure(""));
        listing_.folders.push_back(entryOf("", info));
        for (std::size_t i = 0; i < listing_.folders.size() && !error_; ++i) {
            const std::string relative = listing_.folders[i].relativePath; // the list grows meanwhile
            readFolder(relative);
        }
        if (error_)
            return std::unexpected(*error_);
        std::ranges::sort(listing_.files, {}, &PluginPackageEntry::relativePath);
        std::ranges::sort(listing_.folders, {}, &PluginPackageEntry::relativePath);
        return std::move(listing_);
    }

private:
    void readFolder(const std::string& relative) {
        UniqueFd descriptor(::openat(package_.descriptor(), relative.empty() ? "." : relative.c_str(),
                                     O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        DIR* raw = descriptor ? ::fdopendir(descriptor.get()) : nullptr;
        if (!raw) {
            error_ = package_.failure(relative);
            return;
        }
        descriptor.release();
        std::unique_ptr<DIR, int (*)(DIR*)> folder(raw, ::closedir);
        errno = 0;
        while (const dirent* entry = ::readdir(folder.get())) {
            std::string_view name = entry->d_name;
            if (name != "." && name != "..")
                add(::dirfd(folder.get()), entry->d_name,
                    relative.empty() ? std::string(name) : relative + "/" + std::string(name));
            if (error_)
                return;
            errno = 0;
        }
        if (errno != 0)
            error_ = package_.failure(relative);
    }

    void add(int folder, const char* name, std::string relative) {
        struct stat info {};
        if (::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
            error_ = package_.failure(relative);
        else if (S_ISLNK(info.st_mode))
            error_ = package_.failure(Kind::symbolicLink, relative);
        else if (!isValidUTF8(name))
            error_ = package_.failure(Kind::invalidName, relative);
        else if (S_ISDIR(info.st_mode))
            listing_.folders.push_back(entryOf(std::move(relative), info));
        else if (!S_ISREG(info.st_mode))
            error_ = package_.failure(Kind::unsupportedEntry, relative);
        else if (!package_.contains(relative))
            error_ = package_.failure(Kind::escapingPath, relative);
        else
            listing_.files.push_back(entryOf(std::move(relative), info));
    }

    const Package& package_;
    PluginPackageListing listing_;
    std::optional<PluginPackageHashError> error_;
};

/// Receives the bytes of a file; false (with `errno`) ends the reading.
using Sink = std::function<bool(std::string_view)>;

/// Reads files of a package through one buffer.
class FileReader {
public:
    explicit FileReader(const Package& package)
        : package_(package) {}

    /// `begin` gets the size before the first byte. The file must hold exactly that many.
    std::expected<void, PluginPackageHashError> read(const std::string& relative,
                                                     const std::function<void(const struct stat&)>& begin,
                                                     const Sink& sink) {
        // Without O_NONBLOCK a pipe that took the file's place would hold us until somebody writes to it.
        UniqueFd file(::openat(package_.descriptor(), relative.c_str(),
                               O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat info {};
        if (!file || ::fstat(file.get(), &info) != 0)
            return std::unexpected(package_.failure(relative));
        if (!S_ISREG(info.st_mode))
            return std::unexpected(package_.failure(Kind::unsupportedEntry, relative));
        begin(info);
        return stream(file.get(), static_cast<std::uint64_t>(info.st_size), relative, sink);
    }

private:
    std::expected<void, PluginPackageHashError> stream(int file, std::uint64_t expected,
                                                       const std::string& relative, const Sink& sink) {
        for (;;) {
            ssize_t count = ::read(file, buffer_.get(), kBufferSize);
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                return std::unexpected(package_.failure(relative));
            if (static_cast<std::uint64_t>(count) > expected || (count == 0 && expected > 0))
                return std::unexpected(package_.failure(Kind::changed, relative));
            if (count == 0)
                return {};
            expected -= static_cast<std::uint64_t>(count);
            if (!sink({buffer_.get(), static_cast<std::size_t>(count)}))
                return std::unexpected(package_.failure(relative));
        }
    }

    const Package& package_;
    std::unique_ptr<char[]> buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
};

/// The header that stands before a file's content in the package's hash.
std::string header(const std::string& relative, std::uint64_t size) {
    return "path:" + std::to_string(relative.size()) + ":" + relative + "data:" + std::to_string(size) + ":";
}

std::uint64_t totalSize(const PluginPackageListing& listing) {
    std::uint64_t total = 0;
    for (const PluginPackageEntry& file : listing.files)
        total += std::min(file.size, UINT64_MAX - total);
    return total;
}

/// Writes one file of a copy, closing it at the end.
class CopiedFile {
public:
    bool open(const std::string& path, std::uint32_t mode) {
        // Written to through this descriptor only; nobody else ever gets to write.
        file_.reset(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        return file_ && ::fchmod(file_.get(), mode & 0100 ? 0500 : 0400) == 0;
    }
    bool write(std::string_view bytes) {
        while (!bytes.empty()) {
            ssize_t count = ::write(file_.get(), bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR)
                return false;
            bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
        }
        return true;
    }

private:
    UniqueFd file_;
};

} // namespace

std::string readablePath(const std::string& path) {
    if (isValidUTF8(path))
        return path;
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (char c : path) {
        auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            text += c;
        else
            text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return text;
}

std::string describe(const PluginPackageHashError& error) {
    const std::string path = readablePath(error.path);
    switch (error.kind) {
    case Kind::symbolicLink:
        return localized("Plugin package contains a symbolic link: %1", {path});
    case Kind::unsupportedEntry:
        return localized("Plugin package contains an unsupported item: %1", {path});
    case Kind::escapingPath:
        return localized("Plugin package contains an invalid path: %1", {path});
    case Kind::invalidName:
        return localized("Plugin package contains a file name that is not UTF-8: %1", {path});
    case Kind::changed:
        return localized("Plugin package changed while it was read: %1", {path});
    case Kind::tooLarge:
        return localized("Plugin package is too large: %1", {path});
    case Kind::unreadable:
        break;
    }
    return localized("Plugin package could not be read: %1: %2",
                     {path, std::system_category().message(error.code)});
}

std::expected<PluginPackageListing, PluginPackageHashError>
listPluginPackage(std::string_view packageFolder) {
    Package package(packageFolder);
    if (auto opened = package.open(); !opened)
        return std::unexpected(opened.error());
    return Walk(package).run();
}

std::optional<std::string> unsafePermissions(const PluginPackageListing& listing,
                                             std::string_view packageFolder) {
    auto path = [&](const PluginPackageEntry& entry) {
        return entry.relativePath.empty() ? std::string(packageFolder)
                                          : appendPath(packageFolder, entry.relativePath);
    };
    for (const PluginPackageEntry& file : listing.files) {
        if (file.mode & S_ISUID)
            return localized("Plugin package contains a set-user-ID file: %1", {path(file)});
        if (file.mode & S_ISGID)
            return localized("Plugin package contains a set-group-ID file: %1", {path(file)});
        if (file.mode & S_IWOTH)
            return localized("Plugin package contains a file that everybody can write to: %1", {path(file)});
    }
    for (const PluginPackageEntry& folder : listing.folders)
        if (folder.mode & S_IWOTH)
            return localized("Plugin package contains a folder that everybody can write to: %1",
                             {path(folder)});
    return std::nullopt;
}

std::expected<std::string, PluginPackageHashError> hashPluginPackage(std::string_view packageFolder,
                                                                     std::uint64_t maximumBytes) {
    auto listing = listPluginPackage(packageFolder);
    if (!listing)
        return std::unexpected(listing.error());
    return hashPluginPackage(packageFolder, *listing, maximumBytes);
}

std::expected<std::string, PluginPackageHashError> hashPluginPackage(std::string_view packageFolder,
                                                                     const PluginPackageListing& listing,
                                                                     std::uint64_t maximumBytes) {
    Package package(packageFolder);
    if (auto opened = package.open(); !opened)
        return std::unexpected(opened.error());
    if (totalSize(listing) > maximumBytes)
        return std::unexpected(package.failure(Kind::tooLarge, ""));
    Sha256 hash;
    FileReader reader(package);
    for (const PluginPackageEntry& file : listing.files) {
        auto done = reader.read(
            file.relativePath,
            [&](const struct stat& info) {
                hash.update(header(file.relativePath, static_cast<std::uint64_t>(info.st_size)));
            },
            [&](std::string_view bytes) {
                hash.update(bytes);
                return true;
            });
        if (!done)
            return std::unexpected(done.error());
    }
    return hash.finishHex();
}

std::expected<std::string, PluginPackageHashError> copyPluginPackage(std::string_view packageFolder,
                                                                     const PluginPackageListing& listing,
                                                                     const std::string& target) {
    Package package(packageFolder);
    if (auto opened = package.open(); !opened)
        return std::unexpected(opened.error());
    auto targetPath = [&](const std::string& relative) { return target + "/" + relative; };
    for (const PluginPackageEntry& folder : listing.folders)
        if (!folder.relativePath.empty() && ::mkdir(targetPath(folder.relativePath).c_str(), 0700) != 0)
            return std::unexpected(PluginPackageHashError{Kind::unreadable, target, errno});
    Sha256 hash;
    FileReader reader(package);
    for (const PluginPackageEntry& file : listing.files) {
        CopiedFile copy;
        bool isWritten = true;
        auto done = reader.read(
            file.relativePath,
            [&](const struct stat& info) {
                hash.update(header(file.relativePath, static_cast<std::uint64_t>(info.st_size)));
                isWritten = copy.open(targetPath(file.relativePath), info.st_mode);
            },
            [&](std::string_view bytes) {
                hash.update(bytes);
                return isWritten && copy.write(bytes);
            });
        if (!done)
            return std::unexpected(done.error());
        if (!isWritten)
            return std::unexpected(PluginPackageHashError{Kind::unreadable, target, errno});
    }
    return hash.finishHex();
}

std::expected<PluginFileDigests, PluginPackageHashError>
digestPluginFiles(std::string_view packageFolder, const PluginPackageListing& listing) {
    Package package(packageFolder);
    if (auto opened = package.open(); !opened)
        return std::unexpected(opened.error());
    PluginFileDigests digests;
    FileReader reader(package);
    for (const PluginPackageEntry& file : listing.files) {
        Sha256 hash;
        auto done = reader.read(
            file.relativePath, [](const struct stat&) {},
            [&](std::string_view bytes) {
                hash.update(bytes);
                return true;
            });
        if (!done)
            return std::unexpected(done.error());
        digests.emplace_hint(digests.end(), file.relativePath, hash.finishHex());
    }
    return digests;
}

PluginPackageChanges comparePluginFiles(const PluginFileDigests& before, const PluginFileDigests& after) {
    PluginPackageChanges changes;
    for (const auto& [path, digest] : after) {
        auto earlier = before.find(path);
        if (earlier == before.end())
            changes.added.push_back(path);
        else if (earlier->second != digest)
            changes.changed.push_back(path);
    }
    for (const auto& [path, digest] : before)
        if (!after.contains(path))
            changes.removed.push_back(path);
    return changes;
}

std::string describe(const PluginPackageChanges& changes, std::size_t limit) {
    std::string text;
    auto some = [&](const std::vector<std::string>& paths) {
        const std::size_t count = std::min(paths.size(), limit);
        std::string list = join({paths.begin(), paths.begin() + static_cast<std::ptrdiff_t>(count)}, ", ");
        return paths.size() > limit
                   ? localized("%1 and %2 more", {list, std::to_string(paths.size() - limit)})
                   : list;
    };
    auto add = [&text](const std::string& sentence) { text += (text.empty() ? "" : " ") + sentence; };
    if (!changes.added.empty())
        add(localized("Added: %1.", {some(changes.added)}));
    if (!changes.changed.empty())
        add(localized("Changed: %1.", {some(changes.changed)}));
    if (!changes.removed.empty())
        add(localized("Removed: %1.", {some(changes.removed)}));
    return text;
}

} // namespace varnel
