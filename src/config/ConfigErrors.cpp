#include "config/ConfigErrors.h"

#include "base/Localized.h"

namespace varnel {

std::string describe(const ConfigStorageProviderError& error) {
    if (error.kind == ConfigStorageProviderError::Kind::fileNotFound)
        return "Config file not found at " + error.url;
    return "A file already exists at " + error.url + ". Open it instead of creating it.";
}

std::string describe(const ConfigFileSelectionError& error) {
    return "The selected file is not a valid Varnel! configuration: " + error.url;
}

std::string failureReason(const ConfigFileSelectionError& error) {
    return describe(error.underlying);
}

std::string describe(const UnreadConfigError& error) {
    return "The configuration at " + error.url +
           " could not be read, and saving would replace it. Repair it, or confirm that it may be replaced. "
           "(" +
           error.reason + ")";
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
