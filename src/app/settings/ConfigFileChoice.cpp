#include "app/settings/ConfigFileChoice.h"

#include "base/Localized.h"
#include "config/LocalConfigStorageProvider.h"

namespace varnel {

namespace {

std::string successText(ConfigFileOperation operation) {
    switch (operation) {
    case ConfigFileOperation::open:
        return localized("The selected configuration was loaded.");
    case ConfigFileOperation::create:
        return localized("A new empty configuration was created.");
    case ConfigFileOperation::useDefault:
        break;
    }
    return localized("The default configuration is now active.");
}

std::string errorPhrase(ConfigFileOperation operation) {
    switch (operation) {
    case ConfigFileOperation::open:
        return localized("opening the selected configuration");
    case ConfigFileOperation::create:
        return localized("creating the configuration");
    case ConfigFileOperation::useDefault:
        break;
    }
    return localized("opening the default configuration");
}

/// With the reason where the description itself only names the file.
std::string fullDescription(const ConfigError& error) {
    if (const auto* selection = std::get_if<ConfigFileSelectionError>(&error))
        return describe(*selection) + "\n" + failureReason(*selection);
    return describe(error);
}

std::string nextStart(const ConfigManager& config, const PreferenceStore& preferences) {
    const std::string next =
        stringPreference(preferences, kCustomConfigPath).value_or(config.defaultConfigURL());
    return next == config.currentConfigPath() ? localized("The next start will use it, too.")
                                              : localized("The next start will use %1.", {next});
}

} // namespace

ConfigFileTexts texts(ConfigFileOperation operation) {
    switch (operation) {
    case ConfigFileOperation::open:
        return {localized("Open Config File…"), localized("Open a Configuration File"),
                localized("Choose an existing Varnel! JSON configuration.")};
    case ConfigFileOperation::create:
        return {localized("Create New Config…"), localized("Create a New Configuration"),
                localized("Choose a name and location for an empty Varnel! configuration.")};
    case ConfigFileOperation::useDefault:
        break;
    }
    return {localized("Use Default Config"), {}, {}};
}

std::string configFileExplanation() {
    return localized(
        "Varnel! reads and writes the active configuration file. Open an existing file or create a "
        "new one without changing other configurations.");
}

ConfigFileOutcome perform(ConfigManager& config, ConfigFileOperation operation, const std::string& path) {
    std::optional<ConfigError> error;
    switch (operation) {
    case ConfigFileOperation::open:
        error = config.openConfig(path);
        break;
    case ConfigFileOperation::create:
        error = config.createConfig(path);
        break;
    case ConfigFileOperation::useDefault:
        error = config.useDefaultConfig();
        break;
    }
    if (!error)
        return {true, successText(operation)};
    return {false,
            localized("An error occurred while %1: %2", {errorPhrase(operation), fullDescription(*error)})};
}

ConfigFileState configFileState(const ConfigManager& config, const PreferenceStore& preferences) {
    ConfigFileState state;
    state.path = config.currentConfigPath();
    std::size_t actions = 0, groups = 0;
    for (const ConfigItem& item : config.rootItems())
        ++(item.type == ItemType::group ? groups : actions);
    state.content =
        localized("Shortcuts: %1. Groups: %2.", {std::to_string(actions), std::to_string(groups)});
    if (config.loadError())
        state.problem = localized("The file cannot be read, so what was read before stays in force: %1",
                                  {fullDescription(*config.loadError())});
    state.nextStart = nextStart(config, preferences);
    return state;
}

} // namespace varnel
