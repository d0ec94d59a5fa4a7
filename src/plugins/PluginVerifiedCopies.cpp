#include "plugins/PluginVerifiedCopies.h"

#include "base/FileSystem.h"
#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "base/Sha256.h"

#include <dirent.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <system_error>

namespace varnel {

namespace {

using Kind = PluginVerificationError::Kind;
constexpr std::string_view kStagingPrefix = ".staging-";

std::unexpected<PluginVerificationError> noCopy(int code) {
    return std::unexpected(PluginVerificationError{
        Kind::noCopy, localized("Could not prepare the private copy of the capability: %1",
                                {std::system_category().message(code)})});
}

std::unexpected<PluginVerificationError> differs(std::string message = {}) {
    return std::unexpected(PluginVerificationError{Kind::differs, std::move(message)});
}

std::int64_t wallNanoseconds() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/// One text for all that the system says about a package; empty while the package is too fresh to tell two
/// changes apart by their times.
std::string fingerprint(const PluginPackageListing& listing, std::int64_t takenAt) {
    // Longer than a tick of any file system's clock.
    constexpr std::int64_t kSettlingTime = 2500000000;
    Sha256 hash;
    for (const auto* entries : {&listing.files, &listing.folders})
        for (const PluginPackageEntry& entry : *entries) {
            if (entry.changed > takenAt - kSettlingTime)
                return {};
            hash.update(entry.relativePath);
            for (std::uint64_t fact :
                 {entry.size, std::uint64_t{entry.mode}, entry.device, entry.inode,
                  static_cast<std::uint64_t>(entry.modified), static_cast<std::uint64_t>(entry.changed)})
                hash.update("\n" + std::to_string(fact));
            hash.update(std::string_view("\0", 1));
        }
    return hash.finishHex();
}

std::string fingerprint(const std::string& folder) {
    const std::int64_t now = wallNanoseconds();
    auto listing = listPluginPackage(folder);
    return listing ? fingerprint(*listing, now) : std::string();
}

void removeTree(const std::string& path) {
    constexpr int kDescriptors = 16;
    ::nftw(
        path.c_str(),
        [](const char* entry, const struct stat*, int kind, FTW*) {
            return kind == FTW_D && ::chmod(entry, 0700) != 0 ? -1 : 0;
        },
        kDescriptors, FTW_PHYS);
    ::nftw(
        path.c_str(), [](const char* entry, const struct stat*, int, FTW*) { return ::remove(entry); },
        kDescriptors, FTW_PHYS | FTW_DEPTH);
}

/// Removes a staged copy that did not come to its place.
class Staging {
public:
    explicit Staging(const std::string& folder)
        : path_(folder + "/" + std::string(kStagingPrefix) + "XXXXXX") {
        isMade_ = ::mkdtemp(path_.data()) != nullptr;
    }
    ~Staging() {
        if (isMade_)
            removeTree(path_);
    }
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    explicit operator bool() const { return isMade_; }
    [[nodiscard]] const std::string& path() const { return path_; }

    /// Folders that nothing can be added to, so that a plugin which writes beside itself leaves its copy
    /// whole.
    void seal(const PluginPackageListing& listing) const {
        for (auto folder = listing.folders.rbegin(); folder != listing.folders.rend(); ++folder)
            ::chmod((path_ + "/" + folder->relativePath).c_str(), 0500);
    }
    bool moveTo(const std::string& place) {
        if (::rename(path_.c_str(), place.c_str()) != 0)
            return false;
        isMade_ = false;
        return true;
    }

private:
    std::string path_;
    bool isMade_ = false;
};

/// What a crash left behind.
void removeOldStagings(const std::string& folder) {
    constexpr std::time_t kHour = 3600;
    PosixFileSystem files;
    auto names = files.list(folder);
    for (const std::string& name : names.value_or(std::vector<std::string>())) {
        struct stat info {};
        const std::string path = appendPath(folder, name);
        if (name.starts_with(kStagingPrefix) && ::lstat(path.c_str(), &info) == 0 &&
            info.st_mtime < std::time(nullptr) - kHour)
            removeTree(path);
    }
}

} // namespace

std::expected<std::string, PluginVerificationError>
PluginVerifiedCopies::verify(const std::string& package, const std::string& trustedHash) {
    std::lock_guard lock(mutex_);
    if (auto prepared = prepareFolder(); !prepared)
        return std::unexpected(prepared.error());
    std::string copy = appendPath(folder_, trustedHash);
    const std::int64_t now = wallNanoseconds();
    auto listing = listPluginPackage(package);
    if (!listing)
        return differs(describe(listing.error()));
    const std::string before = fingerprint(*listing, now);
    auto known = known_.find(package);
    if (known != known_.end() && known->second.hash == trustedHash && !before.empty() &&
        known->second.package == before && known->second.copy == fingerprint(copy))
        return copy;
    if (auto read = readInFull(package, *listing, trustedHash); !read)
        return std::unexpected(read.error());
    if (std::string copied = fingerprint(copy); !before.empty() && !copied.empty())
        known_[package] = {trustedHash, before, copied};
    return copy;
}

std::expected<void, PluginVerificationError>
PluginVerifiedCopies::readInFull(const std::string& package, const PluginPackageListing& listing,
                                 const std::string& trustedHash) {
    const std::string copy = folder_ + "/" + trustedHash;
    if (auto held = hashPluginPackage(copy); !held || *held != trustedHash) {
        removeTree(copy);
        return makeCopy(package, listing, trustedHash);
    }
    auto hash = hashPluginPackage(package, listing);
    if (!hash)
        return differs(describe(hash.error()));
    if (*hash != trustedHash)
        return differs();
    return {};
}

std::expected<void, PluginVerificationError>
PluginVerifiedCopies::makeCopy(const std::string& package, const PluginPackageListing& listing,
                               const std::string& trustedHash) {
    Staging staging(folder_);
    if (!staging)
        return noCopy(errno);
    auto hash = copyPluginPackage(package, listing, staging.path());
    if (!hash) {
        if (hash.error().path == staging.path())
            return noCopy(hash.error().code);
        return differs(describe(hash.error()));
    }
    if (*hash != trustedHash)
        return differs();
    staging.seal(listing);
    const std::string copy = folder_ + "/" + trustedHash;
    if (staging.moveTo(copy))
        return {};
    const int code = errno;
    // Another process of ours may have been faster.
    auto held = hashPluginPackage(copy);
    if (!held || *held != trustedHash)
        return noCopy(code);
    return {};
}

std::expected<void, PluginVerificationError> PluginVerifiedCopies::prepareFolder() {
    if (!isPrepared_) {
        PosixFileSystem files;
        if (auto made = files.makeFolders(parentPath(folder_)); !made)
            return noCopy(made.error().code);
        if (::mkdir(folder_.c_str(), 0700) != 0 && errno != EEXIST)
            return noCopy(errno);
    }
    struct stat info {};
    if (::lstat(folder_.c_str(), &info) != 0) {
        isPrepared_ = false;
        return noCopy(errno);
    }
    if (!S_ISDIR(info.st_mode))
        return noCopy(ENOTDIR);
    if (info.st_uid != ::geteuid())
        return noCopy(EPERM);
    if ((info.st_mode & 077) != 0 && ::chmod(folder_.c_str(), 0700) != 0)
        return noCopy(errno);
    if (!isPrepared_)
        removeOldStagings(folder_);
    isPrepared_ = true;
    return {};
}

void PluginVerifiedCopies::forget(const std::string& hash) {
    std::lock_guard lock(mutex_);
    if (!hash.empty() && hash.find('/') == std::string::npos)
        removeTree(folder_ + "/" + hash);
}

} // namespace varnel
