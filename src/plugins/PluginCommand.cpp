#include "plugins/PluginCommand.h"

#include "base/Localized.h"
#include "base/Text.h"

namespace varnel {

std::optional<std::string> statusLine(const PluginExecutionResponse& response,
                                      const std::string& displayName) {
    std::string text(trimmed(response.message.value_or("")));
    if (text.empty() && !response.success)
        text = localized("Failed to execute action: %1", {displayName});
    if (response.warnings && !response.warnings->empty()) {
        std::string warnings = join(*response.warnings, "; ");
        text = text.empty() ? displayName + ": " + warnings : text + " (" + warnings + ")";
    }
    std::string line = singleLine(text, kPluginStatusLength);
    return line.empty() ? std::nullopt : std::optional(std::move(line));
}

PluginCommand::PluginCommand(std::string displayName, Run run)
    : displayName_(std::move(displayName))
    , run_(std::move(run)) {}

std::optional<std::string> PluginCommand::execute() {
    auto response = run_();
    if (!response)
        return singleLine(localized("Failed to execute action: %1", {response.error()}), kPluginStatusLength);
    return statusLine(*response, displayName_);
}

} // namespace varnel
