#include "documents/ActionPhrase.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "commands/WindowManagerOperations.h"
#include "documents/KeyCaps.h"

namespace varnel {
namespace {

constexpr std::size_t kLongestCommand = 80;
constexpr std::size_t kLongestPhrase = 120;

std::string parameter(const ConfigAction& action, std::string_view key) {
    const auto found = action.params.find(key);
    const std::string* text = found == action.params.end() ? nullptr : found->second.string();
    return text ? *text : std::string();
}

/// "Mail" of "/Applications/Mail.app/".
std::string applicationName(std::string_view path) {
    while (path.ends_with('/'))
        path.remove_suffix(1);
    if (const auto slash = path.rfind('/'); slash != std::string_view::npos)
        path.remove_prefix(slash + 1);
    for (const std::string_view ending : {".app", ".desktop"})
        if (path.size() > ending.size() && path.ends_with(ending))
            path.remove_suffix(ending.size());
    return std::string(path);
}

std::string shellPhrase(const ConfigAction& action) {
    const std::string command = singleLine(parameter(action, "command"), kLongestCommand);
    const auto found = action.params.find("openInTerminal");
    const bool* inTerminal = found == action.params.end() ? nullptr : found->second.boolean();
    if (inTerminal && *inTerminal)
        return localized("Run in a terminal: %1", {command});
    return localized("Run: %1", {command});
}

std::string operationPhrase(const ConfigAction& action) {
    std::string id = parameter(action, "operation");
    if (id.empty())
        id = kDefaultWindowManagerOperation;
    const WindowManagerOperation* operation = findWindowManagerOperation(id);
    if (!operation)
        return id;
    const std::string_view value = parameterName(operation->needs);
    const std::string given = value.empty() ? std::string() : parameter(action, value);
    const std::string description = localized(operation->description);
    return given.empty() ? description : localized("%1 (%2)", {description, given});
}

std::string phrase(const ConfigAction& action) {
    if (action.pluginID == core::application)
        return localized("Open %1", {applicationName(parameter(action, "path"))});
    if (action.pluginID == core::shortcut)
        return localized("Press %1", {KeyCaps::stepText(parameter(action, "shortcut"))});
    if (action.pluginID == core::shell)
        return shellPhrase(action);
    if (action.pluginID == core::window)
        return localized("Arrange windows: %1", {parameter(action, "arrangement")});
    if (action.pluginID == core::aerospace)
        return operationPhrase(action);
    if (action.pluginID == core::runningApps)
        return localized("Choose a running application");
    return action.pluginID + " " + action.actionID;
}

} // namespace

std::string actionPhrase(const ConfigItem& item) {
    return item.action ? singleLine(phrase(*item.action), kLongestPhrase) : std::string();
}

} // namespace varnel
