#pragma once

#include "commands/Command.h"
#include "plugins/PluginProtocol.h"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace varnel {

/// Characters of a status line made from a plugin's text.
inline constexpr std::size_t kPluginStatusLength = 200;

/// The status line that a response makes: its message and its warnings, one line. None when the plugin
/// succeeded and said nothing.
std::optional<std::string> statusLine(const PluginExecutionResponse& response,
                                      const std::string& displayName);

/// Runs one action of a plugin for a configuration item. Owns all that it needs: the manager may be gone when
/// it executes, which then is a message.
class PluginCommand : public Command {
public:
    /// Runs the action; the error is a sentence. Must not depend on the manager's lifetime.
    using Run = std::function<std::expected<PluginExecutionResponse, std::string>()>;
    PluginCommand(std::string displayName, Run run);

    /// Failures read "Failed to execute action: " and the reason.
    std::optional<std::string> execute() override;

private:
    std::string displayName_;
    Run run_;
};

} // namespace varnel
