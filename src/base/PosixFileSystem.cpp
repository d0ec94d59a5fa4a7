#include "base/PosixFileSystem.h"

#include "base/Platform.h"
#include "base/UniqueFd.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace varnel {

namespace {

/// Larger files are refused: nothing that Varnel reads comes near, but a device may never end.
constexpr std::size_t kLargestFile = std::size_t{1} << 30;
/// How long a pipe may say nothing, in milliseconds: it must not hold the program up for ever.
constexpr int kPatience = 1000;

std::unexpected<FileError> failed(const char* operation, const std::string& path, int code = errno) {
    return std::unexpected(FileError{operation, path, code});
}

FileSystem::Result<void> check(bool succeeded, const char* operation, const std::string& path) {
    if (!succeeded)
        return failed(operation, path);
    return {};
}

/// Opens without waiting: a named pipe that nobody writes to must not hold the program up.
UniqueFd openForReading(const std::string& path, int flags = 0) {
    return UniqueFd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | flags));
}

int writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = write(descriptor, content.data(), content.size());
        if (written >= 0)
            content.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

} // namespace

FileSystem::Result<FileSystem::Info> PosixFileSystem::info(const std::string& path, bool followLinks) {
    struct stat status {};
    if ((followLinks ? stat(path.c_str(), &status) : lstat(path.c_str(), &status)) != 0)
        return failed("look at", path);
    Info info;
    info.kind = S_ISREG(status.st_mode)   ? Info::Kind::file
                : S_ISDIR(status.st_mode) ? Info::Kind::folder
                : S_ISLNK(status.st_mode) ? Info::Kind::link
                                          : Info::Kind::other;
    info.size = static_cast<std::uint64_t>(status.st_size);
    info.mode = status.st_mode & 07777;
    info.device = static_cast<std::uint64_t>(status.st_dev);
    info.inode = status.st_ino;
    info.owner = status.st_uid;
    info.group = status.st_gid;
    return info;
}

FileSystem::Result<std::string> PosixFileSystem::readFile(const std::string& path) {
    const UniqueFd file = openForReading(path);
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0)
        return failed("read", path);
    std::string content(static_cast<std::size_t>(std::clamp<off_t>(status.st_size + 1, 4096, 1 << 26)), '\0');
    std::size_t size = 0;
    while (true) {
        if (size == content.size())
            content.resize(size * 2);
        const ssize_t got = read(file.get(), content.data() + size, content.size() - size);
        if (got == 0)
            break;
        if (got > 0) {
            size += static_cast<std::size_t>(got);
            if (size > kLargestFile)
                return failed("read", path, EFBIG);
        } else if (errno == EAGAIN) {
            pollfd waiting{file.get(), POLLIN, 0};
            if (poll(&waiting, 1, kPatience) == 0)
                return failed("read", path, ETIMEDOUT);
        } else if (errno != EINTR) {
            return failed("read", path);
        }
    }
    content.resize(size);
    return content;
}

FileSystem::Result<std::string> PosixFileSystem::readLink(const std::string& path) {
    char target[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    if (length < 0)
        return failed("read the link", path);
    return std::string(target, static_cast<std::size_t>(length));
}

FileSystem::Result<void> PosixFileSystem::makeFolder(const std::string& path) {
    return check(mkdir(path.c_str(), 0755) == 0, "create the folder", path);
}

FileSystem::Result<void> PosixFileSystem::writeNewFile(const std::string& path, std::string_view content,
                                                       std::uint32_t mode) {
    UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, static_cast<mode_t>(mode)));
    if (!file)
        return failed("create", path);
    int code = writeAll(file.get(), content);
    if (code == 0)
        code = syncToDisk(file.get());
    if (close(file.release()) != 0 && code == 0)
        code = errno; // some file systems report a full disk only here
    if (code == 0)
        return {};
    unlink(path.c_str());
    return failed("write", path, code);
}

FileSystem::Result<void> PosixFileSystem::setMode(const std::string& path, std::uint32_t mode) {
    return check(chmod(path.c_str(), static_cast<mode_t>(mode)) == 0, "set the permissions of", path);
}

FileSystem::Result<void> PosixFileSystem::setOwner(const std::string& path, std::uint32_t owner,
                                                   std::uint32_t group) {
    return check(chown(path.c_str(), owner, group) == 0, "set the owner of", path);
}

FileSystem::Result<void> PosixFileSystem::copyAttributes(const std::string& from, const std::string& to) {
    if (const int code = copyExtendedAttributes(from, to))
        return failed("copy the extended attributes to", to, code);
    return {};
}

FileSystem::Result<void> PosixFileSystem::rename(const std::string& from, const std::string& to) {
    return check(::rename(from.c_str(), to.c_str()) == 0, "rename", from);
}

FileSystem::Result<void> PosixFileSystem::remove(const std::string& path) {
    return check(::remove(path.c_str()) == 0, "remove", path);
}

FileSystem::Result<void> PosixFileSystem::syncFolder(const std::string& path) {
    const UniqueFd folder = openForReading(path, O_DIRECTORY);
    if (!folder)
        return failed("sync", path);
    // Some file systems cannot sync folders; they say EINVAL.
    return check(fsync(folder.get()) == 0 || errno == EINVAL, "sync", path);
}

FileSystem::Result<std::vector<std::string>> PosixFileSystem::list(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
    if (!entries)
        return failed("list", folder);
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = readdir(entries.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
        errno = 0;
    }
    if (errno != 0)
        return failed("list", folder);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace varnel
