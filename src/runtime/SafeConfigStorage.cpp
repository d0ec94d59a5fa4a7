#include "runtime/SafeConfigStorage.h"

#include "base/Localized.h"
#include "config/ConfigDocument.h"

#include <utility>

namespace varnel {

namespace {

std::unexpected<ConfigError> refused(std::string url) {
    return std::unexpected(ConfigError(SafeModeError{std::move(url)}));
}

} // namespace

SafeConfigStorage::SafeConfigStorage(std::string url)
    : url_(std::move(url)) {
    const ConfigFileDocument document = makeDefaultDocument();
    content_ = encodeDocument(document.items, document.pluginSettings).value_or("");
}

std::string SafeConfigStorage::displayName() const {
    return localized("Built-in");
}

std::expected<void, ConfigError> SafeConfigStorage::setConfigURL(std::string url) {
    return refused(std::move(url));
}

std::expected<std::string, ConfigError> SafeConfigStorage::read() {
    isInForce_ = true;
    return content_;
}

std::expected<void, ConfigError> SafeConfigStorage::write(std::string_view data) {
    // Where there is no file nothing is read; the default configuration comes this way instead.
    if (std::exchange(isInForce_, true))
        return refused(url_);
    content_ = data;
    return {};
}

std::expected<void, ConfigError> SafeConfigStorage::create(const std::string& url, std::string_view) {
    return refused(url);
}

} // namespace varnel
