#pragma once

#include "base/EventLoop.h"
#include "base/FileEventSource.h"
#include "base/FileSystem.h"
#include "base/Subscription.h"
#include "config/ConfigErrors.h"
#include "config/ConfigStorageProvider.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// What a publication changed.
struct ConfigChange {
    bool rootItems = false;
    bool pluginSettings = false;
    bool currentConfigPath = false;
    bool loadError = false; ///< `loadError` has another answer
    friend bool operator==(const ConfigChange&, const ConfigChange&) = default;
};

/// Whether a save may replace a file whose content could not be read at start-up.
enum class UnreadFile { keep, replace };

/// True when `environment` (as `environ`) says that the process is a test host, in which neither watching nor
/// hooks run.
bool runsUnderTestHarness(const char* const* environment);
/// Writes the line and a line break to standard output, at once.
void printToStandardOutput(std::string_view line);

/// The single owner of the active configuration: loads it, publishes it, watches it, saves it, switches to
/// another file. Main thread only, and so are all its callbacks.
class ConfigManager {
public:
    using DocumentEncoder = std::function<std::expected<std::string, ConfigEncodingError>(
        const std::vector<ConfigItem>&, const PluginSettings&)>;

    /// The outside world; all of it outlives the manager.
    struct Environment {
        FileSystem& fileManager;
        EventLoop& loop;
        FileEventSource* fileEvents = nullptr; ///< none: nothing is watched
        std::string defaultConfigURL;
        bool isTestHost = false;
        std::function<void(std::string_view line)> printLine = printToStandardOutput;
        /// Fires after every load that announces new content, and once after each save.
        std::function<void(const std::string& configPath, const PluginSettings&)> configDidReload;
        /// Starts a program and forgets it; the first element is the program.
        std::function<void(const std::vector<std::string>& argv)> startProgram;
        std::string opener = "xdg-open"; ///< "/usr/bin/open" on macOS
        Duration reloadDelay = 500ms;
    };

    /// Loads the active file, or writes the default one when there is none, and starts watching it.
    ConfigManager(Environment environment, std::unique_ptr<ConfigStorageProvider> storageProvider);
    ConfigManager(const ConfigManager&) = delete;
    ConfigManager& operator=(const ConfigManager&) = delete;

    [[nodiscard]] const std::vector<ConfigItem>& rootItems() const { return *rootItems_; }
    /// The same, shared: never changed, and valid beyond the next publication. Never null.
    [[nodiscard]] const std::shared_ptr<const std::vector<ConfigItem>>& sharedRootItems() const {
        return rootItems_;
    }
    [[nodiscard]] const PluginSettings& pluginSettings() const { return pluginSettings_; }
    [[nodiscard]] const std::string& currentConfigPath() const { return currentConfigPath_; }
    [[nodiscard]] const std::string& defaultConfigURL() const { return environment_.defaultConfigURL; }
    [[nodiscard]] bool fileMonitoringEnabled() const { return fileMonitoringEnabled_; }
    /// Why the file could not be read, when the latest attempt failed.
    [[nodiscard]] const std::optional<ConfigError>& loadError() const { return loadError_; }

    /// Calls `observer` after each publication that changes something. Observers may subscribe, unsubscribe
    /// and save from inside a call.
    [[nodiscard]] Subscription observe(std::function<void(const ConfigChange&)> observer);

    /// Reads the file and publishes it. A failure prints a line and leaves what was published. Content whose
    /// bytes are those last announced is not published again.
    void load(bool createIfMissing);
    /// Reloads at once, without waiting for the file to come to rest.
    void reloadNow();

    /// Writes and, on success, publishes. On failure nothing in memory changes. A file that could not be read
    /// at start-up is replaced only with `UnreadFile::replace`.
    std::optional<ConfigError> save(std::vector<ConfigItem> items, PluginSettings pluginSettings,
                                    UnreadFile unread = UnreadFile::keep);
    /// Saves the current items with this plugin's settings replaced.
    std::optional<ConfigError> updatePluginSettings(const std::string& pluginID, JSONValue::Object settings);

    /// Makes an existing file the active one and remembers it.
    std::optional<ConfigError> openConfig(const std::string& url);
    /// Creates a new empty file and makes it the active one.
    std::optional<ConfigError> createConfig(const std::string& url);
    /// `openConfig` on the default file if there is one, else `createConfig`.
    std::optional<ConfigError> useDefaultConfig();
    /// Opens the active file in the user's application for it; a failure to start is ignored.
    void openInEditor();

    void startMonitoring(bool createIfMissing);
    void stopMonitoring();
    /// Reloads when `reloadDelay` has passed without another call.
    void scheduleReload();

    /// Replaces the standard encoder when set; for tests.
    DocumentEncoder documentEncoder;

private:
    /// Length and hash of a file's bytes: enough to tell whether they are those already announced.
    struct Fingerprint {
        std::uint64_t size = 0, hash = 0;
        friend bool operator==(const Fingerprint&, const Fingerprint&) = default;
    };
    static Fingerprint fingerprint(std::string_view data);

    void waitForFile();
    std::expected<void, ConfigError> readAndPublish();
    std::expected<void, ConfigError> encodeAndWrite(const std::vector<ConfigItem>& items,
                                                    const PluginSettings& pluginSettings, UnreadFile unread);
    std::optional<ConfigError> writeDefault();
    std::expected<void, ConfigError> switchTo(const std::string& url, ConfigFileDocument document,
                                              Fingerprint content);
    void publish(ConfigFileDocument document, bool pathChanged);
    void announce(Fingerprint content);
    void notify(const ConfigChange& change);
    void tellOfLoadError();
    void print(const std::string& line);

    struct Observers;

    Environment environment_;
    std::unique_ptr<ConfigStorageProvider> storageProvider_;
    std::shared_ptr<const std::vector<ConfigItem>> rootItems_ =
        std::make_shared<const std::vector<ConfigItem>>();
    PluginSettings pluginSettings_;
    std::string currentConfigPath_;
    bool fileMonitoringEnabled_;
    std::vector<Subscription> configDirectoryMonitors_;
    Subscription configFileMonitor_;
    Subscription pendingConfigReload_;
    std::optional<Fingerprint> announced_; ///< what the hook last heard of
    bool hookOwed_ = false;                ///< saved since then
    bool unreadAtStart_ = false;           ///< the file is there but was never read
    std::optional<ConfigError> loadError_;
    std::optional<ConfigError> toldError_; ///< the one that observers know of
    std::shared_ptr<Observers> observers_;
};

} // namespace varnel
