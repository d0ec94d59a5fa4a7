#pragma once

#include "config/ConfigErrors.h"

#include <expected>
#include <string>
#include <string_view>

namespace varnel {

/// Where the active configuration lives and how it is read and written. Main thread.
class ConfigStorageProvider {
public:
    virtual ~ConfigStorageProvider() = default;
    [[nodiscard]] virtual std::string identifier() const = 0;
    [[nodiscard]] virtual std::string displayName() const = 0;

    /// Absolute path of the active file.
    [[nodiscard]] virtual const std::string& configURL() const = 0;
    /// Makes another file the active one and sees to it that its folder exists; on failure nothing changes.
    virtual std::expected<void, ConfigError> setConfigURL(std::string url) = 0;

    virtual std::expected<std::string, ConfigError> read() = 0;
    /// Replaces the active file's content and keeps the replaced one as the backup; a file that did not exist
    /// gets a backup with the same content. On failure the file holds the complete old or the complete new
    /// content.
    virtual std::expected<void, ConfigError> write(std::string_view data) = 0;
    /// Writes a new file at `url`, which must not exist yet, without making it the active one.
    virtual std::expected<void, ConfigError> create(const std::string& url, std::string_view data) = 0;

    /// Remembers the active file for the next start.
    virtual void rememberChoice() = 0;
    /// Removes what a save that was killed has left beside the active file.
    virtual void removeStrayFiles() = 0;
};

} // namespace varnel
