#include "commands/KeyboardShortcutCommand.h"

#include "base/Localized.h"
#include "base/Text.h"

namespace varnel {

std::optional<std::string> KeyboardShortcutCommand::execute() {
    const std::string token(trimmed(parameters_.shortcutToken));
    const std::optional<ParsedKeyToken> shortcut = KeyTokenCodec::parse(token);
    if (!shortcut) {
        services_.log.write(LogLevel::error, kShortcutLog,
                            "invalid shortcut displayName=" + parameters_.displayName +
                                " raw=" + parameters_.shortcutToken);
        return localized("Invalid keyboard shortcut: %1", {token.empty() ? parameters_.displayName : token});
    }
    const std::string& normalized = shortcut->normalizedToken;
    const auto route = chooseRoute(normalized);
    if (const auto* refusal = std::get_if<std::string>(&route))
        return *refusal;
    if (!services_.eventPoster(makeShortcutEvents(normalized, shortcut->keyCode),
                               std::get<KeyboardShortcutDeliveryRoute>(route))) {
        services_.log.write(LogLevel::error, kShortcutLog, "post failed normalized=" + normalized);
        return localized("Failed to send shortcut: %1", {normalized});
    }
    return successMessage(*shortcut);
}

std::string KeyboardShortcutCommand::successMessage(const ParsedKeyToken& shortcut) {
    return localized("Sent shortcut: %1", {shortcut.normalizedToken});
}

std::variant<KeyboardShortcutDeliveryRoute, std::string>
KeyboardShortcutCommand::chooseRoute(const std::string& normalized) const {
    if (!parameters_.deliveryMode)
        return KeyboardShortcutDeliveryRoute(GlobalRoute{});
    const std::string* mode = parameters_.deliveryMode->string();
    if (mode && *mode == "global")
        return KeyboardShortcutDeliveryRoute(GlobalRoute{});
    if (!mode || *mode != "local") {
        services_.log.write(LogLevel::error, kShortcutLog, "invalid delivery mode");
        return localized("Invalid shortcut delivery mode");
    }
    const std::optional<std::int32_t> process = services_.frontmostProcessIdentifier();
    if (!process) {
        services_.log.write(LogLevel::error, kShortcutLog, "frontmost process unavailable");
        return localized("No frontmost application to receive shortcut: %1", {normalized});
    }
    return KeyboardShortcutDeliveryRoute(LocalRoute{*process});
}

} // namespace varnel
