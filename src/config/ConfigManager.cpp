#include "config/ConfigManager.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace varnel {

bool runsUnderTestHarness(const char* const* environment) {
    constexpr std::string_view mark = "XCTestConfigurationFilePath=";
    for (; environment && *environment; ++environment)
        if (std::string_view(*environment).starts_with(mark))
            return true;
    return false;
}

void printToStandardOutput(std::string_view line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

/// Everybody who wants to hear of publications. Entries are never removed while they are being called.
struct ConfigManager::Observers {
    struct Entry {
        std::function<void(const ConfigChange&)> call;
        bool isActive = true;
    };
    std::vector<std::shared_ptr<Entry>> entries;
};

ConfigManager::ConfigManager(Environment environment, std::unique_ptr<ConfigStorageProvider> storageProvider)
    : environment_(std::move(environment))
    , storageProvider_(std::move(storageProvider))
    , fileMonitoringEnabled_(!environment_.isTestHost)
    , observers_(std::make_shared<Observers>()) {
    currentConfigPath_ = storageProvider_->configURL();
    storageProvider_->removeStrayFiles();
    load(true);
    unreadAtStart_ = loadError_.has_value();
    if (fileMonitoringEnabled_)
        startMonitoring(true);
}

Subscription ConfigManager::observe(std::function<void(const ConfigChange&)> observer) {
    auto entry = std::make_shared<Observers::Entry>();
    entry->call = std::move(observer);
    observers_->entries.push_back(entry);
    return Subscription([entry, list = std::weak_ptr(observers_)] {
        entry->isActive = false;
        if (auto observers = list.lock())
            std::erase(observers->entries, entry);
    });
}

void ConfigManager::tellOfLoadError() {
    if (toldError_ == loadError_)
        return;
    toldError_ = loadError_;
    notify({.loadError = true});
}

void ConfigManager::notify(const ConfigChange& change) {
    if (change == ConfigChange{})
        return;
    const auto entries = observers_->entries;
    for (const auto& entry : entries)
        if (entry->isActive)
            entry->call(change);
}

void ConfigManager::print(const std::string& line) {
    if (environment_.printLine)
        environment_.printLine(line);
}

ConfigManager::Fingerprint ConfigManager::fingerprint(std::string_view data) {
    constexpr std::uint64_t factor = 0x9E3779B97F4A7C15;
    std::uint64_t hash = data.size() * factor;
    for (std::string_view rest = data; !rest.empty();) {
        std::uint64_t word = 0;
        const std::size_t count = std::min(rest.size(), sizeof word);
        std::memcpy(&word, rest.data(), count);
        rest.remove_prefix(count);
        hash = (hash ^ word) * factor;
        hash ^= hash >> 32;
    }
    return {data.size(), hash};
}

// MARK: Loading and publishing

void ConfigManager::load(bool createIfMissing) {
    const std::string& url = storageProvider_->configURL();
    if (!environment_.fileManager.exists(url)) {
        if (createIfMissing) {
            print("Config file not found at " + url + ", creating default");
            (void)writeDefault();
        } else {
            waitForFile();
        }
        return;
    }
    if (auto loaded = readAndPublish(); !loaded) {
        loadError_ = loaded.error();
        print("Error loading config: " + describe(loaded.error()));
    }
    tellOfLoadError();
}

void ConfigManager::waitForFile() {
    const std::string& url = storageProvider_->configURL();
    const ConfigError missing =
        ConfigStorageProviderError{ConfigStorageProviderError::Kind::fileNotFound, url};
    if (loadError_ == missing)
        return;
    print("Config file not found at " + url + ", waiting for replacement");
    loadError_ = missing;
    tellOfLoadError();
}

std::expected<void, ConfigError> ConfigManager::readAndPublish() {
    auto text = storageProvider_->read();
    if (!text)
        return std::unexpected(text.error());
    const Fingerprint content = fingerprint(*text);
    if (announced_ == content && !hookOwed_) {
        loadError_.reset();
        return {};
    }
    auto document = decodeDocument(*text);
    if (!document)
        return std::unexpected(ConfigError(document.error()));
    std::string().swap(*text); // not to be held while observers build what they need
    loadError_.reset();
    unreadAtStart_ = false;
    print("Loaded " + std::to_string(document->items.size()) + " root items from config");
    publish(std::move(*document), false);
    announce(content);
    return {};
}

void ConfigManager::publish(ConfigFileDocument document, bool pathChanged) {
    ConfigChange change{.rootItems = document.items != *rootItems_,
                        .pluginSettings = document.pluginSettings != pluginSettings_,
                        .currentConfigPath = pathChanged};
    if (change.rootItems)
        rootItems_ = std::make_shared<const std::vector<ConfigItem>>(std::move(document.items));
    if (change.pluginSettings)
        pluginSettings_ = std::move(document.pluginSettings);
    notify(change);
}

void ConfigManager::announce(Fingerprint content) {
    announced_ = content;
    hookOwed_ = false;
    if (!environment_.isTestHost && environment_.configDidReload)
        environment_.configDidReload(currentConfigPath_, pluginSettings_);
}

void ConfigManager::reloadNow() {
    pendingConfigReload_.reset();
    if (fileMonitoringEnabled_)
        startMonitoring(false);
    load(false);
}

// MARK: Saving

std::optional<ConfigError> ConfigManager::writeDefault() {
    ConfigFileDocument document = makeDefaultDocument();
    return save(std::move(document.items), std::move(document.pluginSettings));
}

std::expected<void, ConfigError> ConfigManager::encodeAndWrite(const std::vector<ConfigItem>& items,
                                                               const PluginSettings& pluginSettings,
                                                               UnreadFile unread) {
    const std::string& url = storageProvider_->configURL();
    if (unreadAtStart_ && unread == UnreadFile::keep && environment_.fileManager.exists(url))
        return std::unexpected(ConfigError(UnreadConfigError{url, loadError_ ? describe(*loadError_) : ""}));
    const auto data =
        documentEncoder ? documentEncoder(items, pluginSettings) : encodeDocument(items, pluginSettings);
    if (!data)
        return std::unexpected(ConfigError(data.error()));
    return storageProvider_->write(*data);
}

std::optional<ConfigError> ConfigManager::save(std::vector<ConfigItem> items, PluginSettings pluginSettings,
                                               UnreadFile unread) {
    if (auto written = encodeAndWrite(items, pluginSettings, unread); !written) {
        print("Error saving config: " + describe(written.error()));
        return written.error();
    }
    unreadAtStart_ = false;
    loadError_.reset();
    hookOwed_ = true;
    if (fileMonitoringEnabled_ && environment_.fileEvents)
        scheduleReload(); // what fires the hook, whether or not the file's own events arrive
    publish({std::move(items), std::move(pluginSettings)}, false);
    tellOfLoadError();
    return std::nullopt;
}

std::optional<ConfigError> ConfigManager::updatePluginSettings(const std::string& pluginID,
                                                               JSONValue::Object settings) {
    PluginSettings changed = pluginSettings_;
    changed.insert_or_assign(pluginID, std::move(settings));
    return save(*rootItems_, std::move(changed));
}

// MARK: Switching

std::optional<ConfigError> ConfigManager::openConfig(const std::string& url) {
    const auto opened = [&]() -> std::expected<void, ConfigError> {
        using Kind = ConfigStorageProviderError::Kind;
        if (!environment_.fileManager.exists(url))
            return std::unexpected(ConfigError(ConfigStorageProviderError{Kind::fileNotFound, url}));
        auto text = environment_.fileManager.readFile(url);
        if (!text)
            return std::unexpected(ConfigError(text.error()));
        auto document = decodeDocument(*text);
        if (!document)
            return std::unexpected(ConfigError(ConfigFileSelectionError{url, document.error()}));
        return switchTo(url, std::move(*document), fingerprint(*text));
    }();
    if (opened)
        return std::nullopt;
    print("Failed to open config: " + describe(opened.error()));
    return opened.error();
}

std::optional<ConfigError> ConfigManager::createConfig(const std::string& url) {
    const auto created = [&]() -> std::expected<void, ConfigError> {
        const auto data = documentEncoder ? documentEncoder({}, {}) : encodeDocument({}, {});
        if (!data)
            return std::unexpected(ConfigError(data.error()));
        if (auto written = storageProvider_->create(url, *data); !written)
            return written;
        return switchTo(url, {}, fingerprint(*data));
    }();
    if (created)
        return std::nullopt;
    print("Failed to create config: " + describe(created.error()));
    return created.error();
}

std::optional<ConfigError> ConfigManager::useDefaultConfig() {
    const std::string& url = defaultConfigURL();
    return environment_.fileManager.exists(url) ? openConfig(url) : createConfig(url);
}

std::expected<void, ConfigError> ConfigManager::switchTo(const std::string& url, ConfigFileDocument document,
                                                         Fingerprint content) {
    if (auto switched = storageProvider_->setConfigURL(url); !switched)
        return switched;
    pendingConfigReload_.reset();
    stopMonitoring();
    storageProvider_->rememberChoice();
    const bool pathChanged = currentConfigPath_ != storageProvider_->configURL();
    currentConfigPath_ = storageProvider_->configURL();
    loadError_.reset();
    unreadAtStart_ = false;
    publish(std::move(document), pathChanged);
    announce(content);
    if (fileMonitoringEnabled_)
        startMonitoring(false);
    tellOfLoadError();
    return {};
}

void ConfigManager::openInEditor() {
    if (environment_.startProgram)
        environment_.startProgram({environment_.opener, currentConfigPath_});
}

// MARK: Watching

namespace {

std::string nearestExisting(FileSystem& files, std::string folder) {
    while (folder != "/" && !folder.empty() && !files.exists(folder))
        folder = parentPath(folder);
    return folder;
}

/// A folder to watch. `wanted` is the folder that matters; while it does not exist, `path` is its nearest
/// parent.
struct WatchedFolder {
    std::string path;
    std::string wanted;
    friend bool operator==(const WatchedFolder&, const WatchedFolder&) = default;
};

/// The folders in which a change can make another file the active one: the file's own, and that of every link
/// on the way to it.
std::vector<WatchedFolder> foldersToWatch(FileSystem& files, std::string path) {
    constexpr int maximumLinks = 8;
    std::vector<WatchedFolder> folders;
    const auto add = [&](const std::string& folder) {
        const WatchedFolder watched{nearestExisting(files, folder), folder};
        for (const WatchedFolder& known : folders)
            if (known == watched)
                return;
        folders.push_back(watched);
    };
    const auto isLink = [&](const std::string& entry) {
        const auto info = files.info(entry, false);
        return info && info->kind == FileSystem::Info::Kind::link;
    };
    for (int count = 0; count < maximumLinks; ++count) {
        const std::string folder = parentPath(path);
        add(folder);
        if (isLink(folder))
            add(parentPath(folder));
        const auto target = isLink(path) ? files.readLink(path) : std::unexpected(FileError{});
        if (!target)
            break;
        path = target->starts_with('/') ? *target : appendPath(folder, *target);
    }
    return folders;
}

} // namespace

void ConfigManager::startMonitoring(bool createIfMissing) {
    FileSystem& files = environment_.fileManager;
    const std::string url = storageProvider_->configURL();
    if (createIfMissing && !files.exists(url))
        (void)writeDefault();
    stopMonitoring();
    if (!fileMonitoringEnabled_ || !environment_.fileEvents)
        return;
    // A folder that comes while its parent is about to be watched must not be missed.
    constexpr int attempts = 3;
    std::vector<WatchedFolder> folders = foldersToWatch(files, url);
    for (int attempt = 0; attempt < attempts; ++attempt) {
        configDirectoryMonitors_.clear();
        for (const WatchedFolder& folder : folders) {
            auto monitor = environment_.fileEvents->watch(folder.path, [this, folder](FileEvent event) {
                // A parent may be a busy place: only the coming of what is waited for counts.
                const bool isParent = folder.path != folder.wanted && event == FileEvent::write;
                if (!isParent || nearestExisting(environment_.fileManager, folder.wanted) != folder.path)
                    scheduleReload();
            });
            if (monitor)
                configDirectoryMonitors_.push_back(std::move(monitor));
        }
        auto now = foldersToWatch(files, url);
        if (now == folders)
            break;
        folders = std::move(now);
    }
    if (files.exists(url))
        configFileMonitor_ = environment_.fileEvents->watch(url, [this](FileEvent) { scheduleReload(); });
}

void ConfigManager::stopMonitoring() {
    configDirectoryMonitors_.clear();
    configFileMonitor_.reset();
}

void ConfigManager::scheduleReload() {
    pendingConfigReload_ = environment_.loop.after(environment_.reloadDelay, [this] {
        pendingConfigReload_.reset();
        reloadNow();
    });
}

} // namespace varnel
