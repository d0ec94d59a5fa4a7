#pragma once

#include "config/ConfigStorageProvider.h"

#include <string>

namespace varnel {

/// The built-in configuration, in memory only: for a start that must not depend on anything the user has
/// changed. Every attempt to save, create or choose a file is refused. Main thread.
class SafeConfigStorage final : public ConfigStorageProvider {
public:
    /// `url` is the file that is left alone, so that it can still be opened in an editor.
    explicit SafeConfigStorage(std::string url);

    [[nodiscard]] std::string identifier() const override { return "safe"; }
    [[nodiscard]] std::string displayName() const override;
    [[nodiscard]] const std::string& configURL() const override { return url_; }
    std::expected<void, ConfigError> setConfigURL(std::string url) override;
    std::expected<std::string, ConfigError> read() override;
    std::expected<void, ConfigError> write(std::string_view data) override;
    std::expected<void, ConfigError> create(const std::string& url, std::string_view data) override;
    void rememberChoice() override {}
    void removeStrayFiles() override {}

private:
    std::string url_;
    std::string content_;
    bool isInForce_ = false; ///< nothing else is accepted any more
};

} // namespace varnel
