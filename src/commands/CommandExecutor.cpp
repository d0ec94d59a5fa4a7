#include "commands/CommandExecutor.h"

#include "base/Localized.h"

namespace varnel {

void CommandExecutor::execute(const ConfigItem& item, const std::string& configurationPath,
                              const PluginSettings& pluginSettings, Report report) {
    std::shared_ptr<Command> command = factory_.makeCommand(item, configurationPath, pluginSettings);
    if (!command) {
        report(localized("No handler found for action: %1", {item.name}));
        return;
    }
    queue_.submit(
        [command = std::move(command), name = item.name, report = std::move(report), &loop = loop_] {
            std::optional<std::string> message = command->execute();
            if (!message)
                message = localized("Executed: %1", {name});
            loop.post([report, message = std::move(*message)] { report(message); });
        });
}

} // namespace varnel
