#include "config/ConfigErrors.h"

#include "base/Localized.h"

namespace varnel {

std::string describe(const ConfigStorageProviderError& error) {
    if (error.kind == ConfigStorageProviderError::Kind::fileNotFound)
        return localized("Config file not found at %1", {error.url});
    return localized("A file already exists at %1. Open it instead of creating it.", {error.url});
}

std::string describe(const ConfigFileSelectionError& error) {
    return localized("The selected file is not a valid Varnel! configuration: %1", {error.url});
}

std::string failureReason(const ConfigFileSelectionError& error) {
    return describe(error.underlying);
}

std::string describe(const UnreadConfigError& error) {
    return localized(
        "The configuration at %1 could not be read, and saving would replace it. Repair it, or confirm that "
        "it may be replaced. (%2)",
        {error.url, error.reason});
}

std::string describe(const SafeModeError& error) {
    return localized(
        "Varnel was started with --safe: it runs on the built-in configuration, and nothing is saved. "
        "Start it without --safe to change %1.",
        {error.url});
}

std::string describe(const ConfigError& error) {
    return std::visit([](const auto& known) { return describe(known); }, error);
}

} // namespace varnel
