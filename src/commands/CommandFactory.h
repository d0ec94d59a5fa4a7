#pragma once

#include "base/Log.h"
#include "commands/ApplicationActivating.h"
#include "commands/Command.h"
#include "commands/KeyboardShortcutCommand.h"

#include <functional>
#include <memory>

namespace varnel {

/// What the commands of a running system work with. The references must outlive the factory.
struct CommandServices {
    ApplicationActivating& applicationActivator;
    std::function<std::optional<std::string>(const FileURL&)> bundleIdentifier;
    KeyboardShortcutPoster eventPoster;
    FrontmostProcessProvider frontmostProcessIdentifier;
    LogSink& log;
};

/// Turns the item that was triggered into something that can run. Main thread only; it must outlive the
/// commands that it made.
class CommandFactory {
public:
    CommandFactory(PluginCommandMaking& pluginManager, CommandServices services)
        : pluginManager_(pluginManager)
        , services_(std::move(services)) {}
    CommandFactory(const CommandFactory&) = delete;
    CommandFactory& operator=(const CommandFactory&) = delete;

    /// Null for a group and for an item without an action. Parameters of the wrong kind count as absent here;
    /// the command reports them when it runs.
    std::unique_ptr<Command> makeCommand(const ConfigItem& item, const std::string& configurationPath,
                                         const PluginSettings& pluginSettings);

private:
    PluginCommandMaking& pluginManager_;
    CommandServices services_;
};

} // namespace varnel
