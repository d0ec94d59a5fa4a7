#include "commands/CommandFactory.h"

#include "commands/ApplicationCommand.h"

namespace varnel {

namespace {

std::string stringParameter(const ConfigAction& action, const char* key) {
    const auto found = action.params.find(key);
    const std::string* text = found == action.params.end() ? nullptr : found->second.string();
    return text ? *text : std::string();
}

std::optional<JSONValue> parameter(const ConfigAction& action, const char* key) {
    const auto found = action.params.find(key);
    return found == action.params.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

std::unique_ptr<Command> CommandFactory::makeCommand(const ConfigItem& item,
                                                     const std::string& configurationPath,
                                                     const PluginSettings& pluginSettings) {
    if (item.type != ItemType::action || !item.action)
        return nullptr;
    const ConfigAction& action = *item.action;
    if (action.pluginID == core::shortcut && action.actionID == "press")
        return std::make_unique<KeyboardShortcutCommand>(
            KeyboardShortcutCommand::Parameters{item.name, stringParameter(action, "shortcut"),
                                                parameter(action, "deliveryMode")},
            KeyboardShortcutCommand::Services{services_.eventPoster, services_.frontmostProcessIdentifier,
                                              services_.log});
    if (action.pluginID == core::application && action.actionID == "open")
        return std::make_unique<ApplicationCommand>(
            ApplicationCommand::Parameters{item.name, stringParameter(action, "path")},
            ApplicationCommand::Services{services_.applicationActivator, services_.bundleIdentifier,
                                         services_.log});
    return pluginManager_.makePluginCommand(item.name, action, configurationPath, pluginSettings);
}

} // namespace varnel
