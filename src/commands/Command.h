#pragma once

#include "base/JSONValue.h"
#include "config/ConfigItem.h"

#include <memory>
#include <optional>
#include <string>

namespace varnel {

/// Something to run for an item. A value: it holds all that it needs and no reference to the engine.
class Command {
public:
    virtual ~Command() = default;
    /// Runs on the command-execution queue and may block there. Never fails to its caller: every failure
    /// becomes the message, one line for the user. None means that there is nothing particular to say.
    virtual std::optional<std::string> execute() = 0;
};

/// What command creation needs of the plugin registry. Called on the main thread.
class PluginCommandMaking {
public:
    virtual ~PluginCommandMaking() = default;
    /// The command for an action of a plugin; it reports an unknown or inactive plugin when it runs. Never
    /// null.
    virtual std::unique_ptr<Command> makePluginCommand(const std::string& displayName,
                                                       const ConfigAction& action,
                                                       const std::string& configurationPath,
                                                       const PluginSettings& pluginSettings) = 0;
};

} // namespace varnel
