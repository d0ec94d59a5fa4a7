#pragma once

#include "base/Log.h"
#include "commands/Command.h"
#include "commands/KeyboardShortcutEvent.h"
#include "keyboard/notation/KeyTokenCodec.h"

namespace varnel {

/// Answers the process of the application in front, if any.
using FrontmostProcessProvider = std::function<std::optional<std::int32_t>()>;

/// Sends a shortcut as if the user had typed it. Always returns a message.
class KeyboardShortcutCommand final : public Command {
public:
    struct Parameters {
        std::string displayName;               ///< the item's name
        std::string shortcutToken;             ///< as configured
        std::optional<JSONValue> deliveryMode; ///< absent or "global"; "local"; anything else is refused
    };
    /// What it works with; must outlive the command.
    struct Services {
        const KeyboardShortcutPoster& eventPoster;
        const FrontmostProcessProvider& frontmostProcessIdentifier;
        LogSink& log;
    };

    KeyboardShortcutCommand(Parameters parameters, const Services& services)
        : parameters_(std::move(parameters))
        , services_(services) {}
    std::optional<std::string> execute() override;
    /// What `execute` returns once the shortcut is sent.
    static std::string successMessage(const ParsedKeyToken& shortcut);
    [[nodiscard]] const Parameters& parameters() const { return parameters_; }

private:
    /// The route, or the message that says why there is none.
    std::variant<KeyboardShortcutDeliveryRoute, std::string> chooseRoute(const std::string& normalized) const;

    Parameters parameters_;
    Services services_;
};

} // namespace varnel
