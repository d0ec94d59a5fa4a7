#pragma once

#include "base/FileSystem.h"
#include "base/PreferenceStore.h"
#include "config/ConfigStorageProvider.h"

#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// Absolute path of the file that the user chose, a string; absent until then.
inline constexpr std::string_view kCustomConfigPath = "customConfigPath";

/// ".config/varnel/config.json" below the home folder.
std::string defaultConfigURL(std::string_view homeDirectoryURL);

/// Keeps the configuration on the local disk. Saving is atomic and durable: the new content is written and
/// synced beside the file and renamed over it, through symbolic links; permission bits, extended attributes
/// and, where the system allows, the owner stay. A process that is killed in mid-save may leave a hidden
/// `.tmp` file beside the configuration, which the next start or save removes, and a copy of the replaced
/// content in the temporary folder ("config.json.<UUID>.tmp.bak", readable by its owner only), which the
/// system clears.
class LocalConfigStorageProvider : public ConfigStorageProvider {
public:
    /// What the provider works on; all of it outlives the provider.
    struct Places {
        FileSystem& files;
        PreferenceStore& preferences;
        std::string homeDirectoryURL; ///< absolute
        std::string temporaryFolder;  ///< absolute; may be on another file system
    };
    /// Locates the active file: the given one; else the one that the user chose if it still exists; else the
    /// default one, after a file at the location of earlier versions has been moved there. Fails when the
    /// file's folder cannot be made.
    static std::expected<std::unique_ptr<LocalConfigStorageProvider>, ConfigError>
    locate(Places places, std::optional<std::string> explicitURL = std::nullopt);

    [[nodiscard]] std::string identifier() const override { return "local"; }
    [[nodiscard]] std::string displayName() const override { return "Local"; }
    [[nodiscard]] const std::string& configURL() const override { return configURL_; }
    std::expected<void, ConfigError> setConfigURL(std::string url) override;
    std::expected<std::string, ConfigError> read() override;
    std::expected<void, ConfigError> write(std::string_view data) override;
    std::expected<void, ConfigError> create(const std::string& url, std::string_view data) override;
    void rememberChoice() override;
    void removeStrayFiles() override;

private:
    LocalConfigStorageProvider(Places places, std::string url);

    Places places_;
    std::string configURL_;
};

/// Where the active file would be found, without creating, moving or changing anything; for verbs that only
/// read.
std::string locateConfigFile(FileSystem& files, const PreferenceStore& preferences,
                             std::string_view homeDirectoryURL);

} // namespace varnel
