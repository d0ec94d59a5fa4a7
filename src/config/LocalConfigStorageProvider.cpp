#include "config/LocalConfigStorageProvider.h"

#include "base/Uuid.h"
#include "config/AtomicFile.h"

#include <cerrno>
#include <utility>

namespace varnel {
namespace {

using Info = FileSystem::Info;
template <typename T>
using Result = FileSystem::Result<T>;

/// The replaced content may hold secrets, and the temporary folder may be open to everybody.
constexpr std::uint32_t kStagedMode = 0600;
constexpr std::string_view kBackupSuffix = ".bak";

std::string earlierConfigURL(std::string_view home) {
    return appendPath(home, ".config/corvid/config.json");
}

std::string backupURL(const std::string& url) {
    return url + std::string(kBackupSuffix);
}

/// "config.json.bak" -> "config.json.<UUID>.tmp.bak"
std::string stagingName(const std::string& backup) {
    std::string name = lastPathComponent(backup);
    name.resize(name.size() - kBackupSuffix.size());
    return name + "." + Uuid::random().text() + ".tmp" + std::string(kBackupSuffix);
}

/// Moves the file of earlier versions to the default location. Failures leave things as they are.
void migrate(const LocalConfigStorageProvider::Places& places, const std::string& url) {
    const std::string earlier = earlierConfigURL(places.homeDirectoryURL);
    if (places.files.exists(url) || !places.files.exists(earlier))
        return;
    if (!places.files.makeFolders(parentPath(url)) || !places.files.rename(earlier, url))
        return;
    (void)AtomicFile::syncFolderOf(places.files, url);
    (void)places.preferences.setValue(kCustomConfigPath, JSONValue(url));
}

std::optional<std::string> chosenURL(FileSystem& files, const PreferenceStore& preferences) {
    auto chosen = stringPreference(preferences, kCustomConfigPath);
    if (chosen && files.exists(*chosen))
        return chosen;
    return std::nullopt;
}

/// The content that a save replaces, on its way to becoming the backup.
struct StagedCopy {
    std::string path;
    std::string content;
};

Result<StagedCopy> stage(FileSystem& files, const std::string& target, const std::string& backup,
                         const std::string& temporaryFolder) {
    auto content = files.readFile(target);
    if (!content)
        return std::unexpected(content.error());
    StagedCopy staged{appendPath(temporaryFolder, stagingName(backup)), std::move(*content)};
    if (files.writeNewFile(staged.path, staged.content, kStagedMode))
        return staged;
    // A full or missing temporary folder is no reason to refuse a save.
    staged.path = AtomicFile::temporaryPath(backup);
    if (auto written = files.writeNewFile(staged.path, staged.content, kStagedMode); !written)
        return std::unexpected(written.error());
    return staged;
}

Result<void> moveToBackup(FileSystem& files, const StagedCopy& staged, const std::string& backup,
                          const Info& like, const std::string& likePath) {
    auto moved = files.rename(staged.path, backup);
    if (moved) {
        if (auto adopted = AtomicFile::adopt(files, backup, like, likePath); !adopted)
            return adopted;
        return AtomicFile::syncFolderOf(files, backup);
    }
    if (moved.error().code != EXDEV)
        return moved;
    auto copied = AtomicFile::write(files, backup, staged.content, like, likePath);
    if (copied)
        (void)files.remove(staged.path);
    return copied;
}

/// Writes the new content and makes the replaced one the backup.
Result<void> replaceWithBackup(FileSystem& files, const std::string& target, const Info& info,
                               const std::string& backup, std::string_view data,
                               const std::string& temporaryFolder) {
    const auto present = files.info(backup, false);
    const bool isOwnBackup = present && present->device == info.device && present->inode == info.inode;
    if (isOwnBackup) // a link to the backup, or a hard link, which keeps the replaced content by itself
        return AtomicFile::write(files, target, data, info, target);
    auto staged = stage(files, target, backup, temporaryFolder);
    if (!staged)
        return std::unexpected(staged.error());
    auto done = AtomicFile::write(files, target, data, info, target);
    if (done)
        done = moveToBackup(files, *staged, backup, info, target);
    if (!done)
        (void)files.remove(staged->path);
    return done;
}

template <typename T>
std::unexpected<ConfigError> asConfigError(const Result<T>& failed) {
    return std::unexpected(ConfigError(failed.error()));
}

} // namespace

std::string defaultConfigURL(std::string_view homeDirectoryURL) {
    return appendPath(homeDirectoryURL, ".config/varnel/config.json");
}

std::string locateConfigFile(FileSystem& files, const PreferenceStore& preferences,
                             std::string_view homeDirectoryURL) {
    if (auto chosen = chosenURL(files, preferences))
        return *chosen;
    const std::string url = defaultConfigURL(homeDirectoryURL);
    const std::string earlier = earlierConfigURL(homeDirectoryURL);
    return !files.exists(url) && files.exists(earlier) ? earlier : url;
}

LocalConfigStorageProvider::LocalConfigStorageProvider(Places places, std::string url)
    : places_(std::move(places))
    , configURL_(std::move(url)) {}

std::expected<std::unique_ptr<LocalConfigStorageProvider>, ConfigError>
LocalConfigStorageProvider::locate(Places places, std::optional<std::string> explicitURL) {
    std::optional<std::string> url = std::move(explicitURL);
    if (!url)
        url = chosenURL(places.files, places.preferences);
    if (!url) {
        url = varnel::defaultConfigURL(places.homeDirectoryURL);
        migrate(places, *url);
    }
    if (auto made = places.files.makeFolders(parentPath(*url)); !made)
        return asConfigError(made);
    return std::unique_ptr<LocalConfigStorageProvider>(
        new LocalConfigStorageProvider(std::move(places), std::move(*url)));
}

std::expected<void, ConfigError> LocalConfigStorageProvider::setConfigURL(std::string url) {
    if (auto made = places_.files.makeFolders(parentPath(url)); !made)
        return asConfigError(made);
    configURL_ = std::move(url);
    return {};
}

std::expected<std::string, ConfigError> LocalConfigStorageProvider::read() {
    auto content = places_.files.readFile(configURL_);
    if (!content)
        return asConfigError(content);
    return std::move(*content);
}

std::expected<void, ConfigError> LocalConfigStorageProvider::write(std::string_view data) {
    FileSystem& files = places_.files;
    const auto target = AtomicFile::resolveLinks(files, configURL_);
    if (!target)
        return asConfigError(target);
    const std::string backup = backupURL(configURL_);
    const auto info = files.info(*target);
    if (!info && info.error().code != ENOENT)
        return asConfigError(info);
    if (info && info->kind != Info::Kind::file)
        return std::unexpected(
            ConfigError(FileError{"replace", *target, info->kind == Info::Kind::folder ? EISDIR : EINVAL}));
    Result<void> done;
    if (info) {
        done = replaceWithBackup(files, *target, *info, backup, data, places_.temporaryFolder);
    } else {
        done = AtomicFile::write(files, *target, data);
        if (done)
            done = AtomicFile::write(files, backup, data);
    }
    if (!done)
        return asConfigError(done);
    removeStrayFiles();
    return {};
}

std::expected<void, ConfigError> LocalConfigStorageProvider::create(const std::string& url,
                                                                    std::string_view data) {
    using Kind = ConfigStorageProviderError::Kind;
    if (places_.files.exists(url))
        return std::unexpected(ConfigError(ConfigStorageProviderError{Kind::fileAlreadyExists, url}));
    if (auto made = places_.files.makeFolders(parentPath(url)); !made)
        return asConfigError(made);
    const auto target = AtomicFile::resolveLinks(places_.files, url);
    if (!target)
        return asConfigError(target);
    if (auto written = AtomicFile::write(places_.files, *target, data); !written)
        return asConfigError(written);
    return {};
}

void LocalConfigStorageProvider::rememberChoice() {
    // The choice holds for this run in any case.
    (void)places_.preferences.setValue(kCustomConfigPath, JSONValue(configURL_));
}

void LocalConfigStorageProvider::removeStrayFiles() {
    if (const auto target = AtomicFile::resolveLinks(places_.files, configURL_))
        AtomicFile::removeStrays(places_.files, *target);
    AtomicFile::removeStrays(places_.files, backupURL(configURL_));
}

} // namespace varnel
