#include "plugins/PluginScan.h"

#include "base/FileSystem.h"
#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "base/Text.h"
#include "base/UniqueFd.h"
#include "plugins/PluginValidation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>

namespace varnel {

namespace {

using StatusKind = PluginStatus::Kind;
constexpr std::string_view kManifestName = "plugin.json";
constexpr std::string_view kSingleFileSuffix = ".plugin.json";

/// A failure to move or make the folder is no message: the scan then finds nothing there.
void prepareUserFolder(const PluginFolders& folders) {
    PosixFileSystem files;
    if (files.exists(folders.user))
        return;
    auto earlier = files.info(folders.earlierUser);
    if (!folders.earlierUser.empty() && earlier && earlier->kind == FileSystem::Info::Kind::folder)
        if (files.makeFolders(parentPath(folders.user)))
            (void)files.rename(folders.earlierUser, folders.user);
    if (!files.exists(folders.user))
        (void)files.makeFolders(folders.user);
}

/// Collects what is wrong with one package.
class Problems {
public:
    void add(std::string message) { messages_.push_back(std::move(message)); }
    void add(std::vector<std::string> messages) {
        for (std::string& message : messages)
            add(std::move(message));
    }
    [[nodiscard]] bool areThere() const { return !messages_.empty(); }
    [[nodiscard]] std::string text() const { return join(messages_, "\n"); }

private:
    std::vector<std::string> messages_;
};

/// Reads one entry of a plugins folder.
class EntryReader {
public:
    EntryReader(PluginSourceKind sourceKind, const PluginTrustStore& trust)
        : sourceKind_(sourceKind)
        , trust_(trust) {}

    std::optional<PluginDescriptor> read(const std::string& folder, const std::string& name) {
        const std::string path = appendPath(folder, name);
        struct stat info {};
        const bool isFolder = ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
        std::string manifest = path;
        if (isFolder) {
            manifest = appendPath(path, kManifestName);
            if (::stat(manifest.c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR))
                return std::nullopt;
        } else if (!name.ends_with(kSingleFileSuffix)) {
            return std::nullopt;
        }
        PluginDescriptor descriptor;
        descriptor.sourceKind = sourceKind_;
        descriptor.pluginURL = path;
        descriptor.manifestURL = manifest;
        describePackage(descriptor, isFolder ? path : folder, name);
        return descriptor;
    }

private:
    void describePackage(PluginDescriptor& descriptor, const std::string& folder, const std::string& name) {
        Problems problems;
        if (!isValidUTF8(descriptor.pluginURL)) {
            problems.add(describe(
                PluginPackageHashError{PluginPackageHashError::Kind::invalidName, descriptor.pluginURL, 0}));
            nameAfterFile(descriptor, name);
        } else if (readManifest(descriptor, name, problems)) {
            descriptor.executableURL = pluginExecutablePath(folder, descriptor.manifest.executable);
            problems.add(validatePluginManifest(descriptor.manifest, folder, descriptor.executableURL));
            if (!descriptor.isSingleFile())
                hash(descriptor, problems);
        }
        decideStatus(descriptor, problems);
    }

    /// What a package without a usable manifest is called; always valid UTF-8.
    static void nameAfterFile(PluginDescriptor& descriptor, const std::string& name) {
        std::string shown = readablePath(name);
        if (descriptor.isSingleFile() && shown.ends_with(kSingleFileSuffix))
            shown.resize(shown.size() - kSingleFileSuffix.size());
        const bool isSingleFile = descriptor.isSingleFile();
        descriptor.manifest.id = descriptor.manifest.name = shown;
        descriptor.pluginURL = readablePath(descriptor.pluginURL);
        descriptor.manifestURL = isSingleFile ? descriptor.pluginURL : readablePath(descriptor.manifestURL);
        descriptor.executableURL = descriptor.pluginURL;
    }

    static bool readManifest(PluginDescriptor& descriptor, const std::string& name, Problems& problems) {
        auto text = readManifestText(descriptor.manifestURL);
        if (!text) {
            problems.add(text.error());
        } else if (auto manifest = decodePluginManifest(*text)) {
            descriptor.manifest = std::move(*manifest);
            return true;
        } else {
            problems.add(describe(manifest.error()));
        }
        nameAfterFile(descriptor, name);
        return false;
    }

    static void hash(PluginDescriptor& descriptor, Problems& problems) {
        auto listing = listPluginPackage(descriptor.pluginURL);
        if (!listing) {
            problems.add(describe(listing.error()));
            return;
        }
        if (auto message = unsafePermissions(*listing, descriptor.pluginURL))
            problems.add(*message);
        auto hashed = hashPluginPackage(descriptor.pluginURL, *listing, kMaximumPackageBytes);
        if (hashed)
            descriptor.bundleHash = *hashed;
        else
            problems.add(describe(hashed.error()));
    }

    void decideStatus(PluginDescriptor& descriptor, const Problems& problems) {
        const std::string key = pluginKey(descriptor.manifest.id, descriptor.pluginURL);
        descriptor.isEnabled = !trust_.isDisabled(key);
        if (descriptor.sourceKind == PluginSourceKind::bundled) {
            descriptor.isTrusted = true;
        } else {
            auto record = trust_.find(key);
            descriptor.isTrusted = record && vouchesFor(*record, descriptor);
        }
        if (problems.areThere())
            descriptor.status = {StatusKind::invalid, problems.text()};
        else if (!descriptor.isTrusted && descriptor.isSingleFile())
            descriptor.status = {
                StatusKind::untrusted,
                localized("User plugins must be installed in a directory containing plugin.json.")};
        else if (!descriptor.isTrusted)
            descriptor.status = {StatusKind::untrusted, lapseReason(descriptor, trust_)};
        else if (!descriptor.isEnabled)
            descriptor.status = {StatusKind::disabled, std::nullopt};
    }

    PluginSourceKind sourceKind_;
    const PluginTrustStore& trust_;
};

void readFolder(const std::string& folder, PluginSourceKind sourceKind, const PluginTrustStore& trust,
                std::vector<PluginDescriptor>& found) {
    PosixFileSystem files;
    auto names = files.list(folder);
    if (!names)
        return;
    std::ranges::sort(*names);
    EntryReader reader(sourceKind, trust);
    for (const std::string& name : *names)
        if (auto descriptor = reader.read(folder, name))
            found.push_back(std::move(*descriptor));
}

bool isCandidate(const PluginDescriptor& descriptor) {
    return descriptor.status.kind == StatusKind::active || descriptor.status.kind == StatusKind::conflict;
}

} // namespace

std::expected<std::string, std::string> readManifestText(const std::string& path) {
    using Kind = PluginPackageHashError::Kind;
    auto failure = [&](Kind kind, int code) {
        return std::unexpected(describe(PluginPackageHashError{kind, path, code}));
    };
    // Opened for reading without O_NONBLOCK, a pipe of that name would hold the scan for ever.
    UniqueFd file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat info {};
    if (!file || ::fstat(file.get(), &info) != 0)
        return failure(errno == ELOOP ? Kind::symbolicLink : Kind::unreadable, errno);
    if (!S_ISREG(info.st_mode))
        return failure(Kind::unsupportedEntry, 0);
    if (static_cast<std::uint64_t>(info.st_size) > kMaximumManifestBytes)
        return failure(Kind::tooLarge, 0);
    std::string text(static_cast<std::size_t>(info.st_size), '\0');
    std::size_t length = 0;
    while (length < text.size()) {
        ssize_t count = ::read(file.get(), text.data() + length, text.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return failure(Kind::unreadable, errno);
        if (count == 0)
            return failure(Kind::changed, 0);
        length += static_cast<std::size_t>(count);
    }
    return text;
}

std::optional<std::string> lapseReason(const PluginDescriptor& descriptor, const PluginTrustStore& trust) {
    const std::string key = pluginKey(descriptor.manifest.id, descriptor.pluginURL);
    if (!trust.find(key))
        return std::nullopt;
    std::string reason = localized("The package has changed since it was trusted.");
    auto before = trust.trustedFiles(key);
    auto listing = listPluginPackage(descriptor.pluginURL);
    if (!before || !listing)
        return reason;
    if (auto now = digestPluginFiles(descriptor.pluginURL, *listing))
        if (std::string changes = describe(comparePluginFiles(*before, *now)); !changes.empty())
            reason += " " + changes;
    return reason;
}

PluginRegistry resolvePlugins(std::vector<PluginDescriptor> descriptors) {
    std::map<std::string_view, int> candidates;
    for (const PluginDescriptor& descriptor : descriptors)
        if (isCandidate(descriptor))
            ++candidates[descriptor.manifest.id];
    for (PluginDescriptor& descriptor : descriptors) {
        if (!isCandidate(descriptor))
            continue;
        if (candidates[descriptor.manifest.id] > 1)
            descriptor.status = {StatusKind::conflict,
                                 localized("More than one trusted capability shares the same ID.")};
        else
            descriptor.status = {};
    }
    PluginRegistry registry;
    for (PluginDescriptor& descriptor : descriptors) {
        auto shared = std::make_shared<const PluginDescriptor>(std::move(descriptor));
        if (shared->status.kind == StatusKind::active)
            registry.activePluginsByID.emplace(shared->manifest.id, shared);
        registry.descriptors.push_back(std::move(shared));
    }
    return registry;
}

PluginRegistry scanPlugins(const PluginFolders& folders, const PluginTrustStore& trust) {
    std::vector<PluginDescriptor> found;
    if (!folders.bundled.empty())
        readFolder(standardizedPath(folders.bundled), PluginSourceKind::bundled, trust, found);
    if (!folders.user.empty()) {
        prepareUserFolder(folders);
        readFolder(standardizedPath(folders.user), PluginSourceKind::user, trust, found);
    }
    return resolvePlugins(std::move(found));
}

} // namespace varnel
