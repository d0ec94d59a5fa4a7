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

std::expected<void, ConfigError> SafeConfigStorage::write(std::string_view data) {
    // Where there is no file the default one is asked for, which is what this holds already.
    if (data == content_)
        return {};
    return refused(url_);
}

std::expected<void, ConfigError> SafeConfigStorage::create(const std::string& url, std::string_view) {
    return refused(url);
}

} // namespace varnel
