#pragma once

#include "base/PreferenceStore.h"
#include "config/ConfigManager.h"

#include <string>

namespace varnel {

/// What can be done about the configuration file.
enum class ConfigFileOperation { open, create, useDefault };

/// The texts of an operation: those of its button and of the panel that asks for a file.
struct ConfigFileTexts {
    std::string label;
    std::string panelTitle;
    std::string panelMessage;
};
ConfigFileTexts texts(ConfigFileOperation operation);
/// What the section is about.
std::string configFileExplanation();

struct ConfigFileOutcome {
    bool isSuccess = false;
    std::string text;
    friend bool operator==(const ConfigFileOutcome&, const ConfigFileOutcome&) = default;
};
/// `path` is the chosen file; the default one needs none.
ConfigFileOutcome perform(ConfigManager& config, ConfigFileOperation operation, const std::string& path = {});

/// The active file as the page shows it.
struct ConfigFileState {
    std::string path;
    std::string content;   ///< "12 shortcuts and groups"
    std::string problem;   ///< why it cannot be read; empty when it can
    std::string nextStart; ///< which file the next start will use
    friend bool operator==(const ConfigFileState&, const ConfigFileState&) = default;
};
ConfigFileState configFileState(const ConfigManager& config, const PreferenceStore& preferences);

} // namespace varnel
