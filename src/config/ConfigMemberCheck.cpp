#include "config/ConfigFindings.h"

#include <algorithm>
#include <map>
#include <span>

namespace varnel {
namespace {

constexpr std::string_view kDocumentMembers[] = {"items", "pluginSettings"};
constexpr std::string_view kItemMembers[] = {
    "action", "allowsPassthroughPrefix", "id", "isEnabled", "keys", "name", "type"};
constexpr std::string_view kActionMembers[] = {"actionID", "params", "pluginID"};
// What the older form of an action keeps, by its "type".
constexpr std::string_view kOlderApplication[] = {"type", "path"};
constexpr std::string_view kOlderShell[] = {"type", "command", "openInTerminal", "terminalApplication"};
constexpr std::string_view kOlderWindow[] = {"type", "command"};
constexpr std::string_view kOlderShortcut[] = {"type", "shortcut"};

std::span<const std::string_view> actionMembers(const JSONValue& action) {
    const auto isText = [&](std::string_view key) {
        const JSONValue* value = action.find(key);
        return value && value->string();
    };
    if (isText("pluginID") && isText("actionID"))
        return kActionMembers;
    const std::string& type = *action.find("type")->string();
    if (type == "application")
        return kOlderApplication;
    if (type == "shellCommand")
        return kOlderShell;
    return type == "windowArrangement" ? std::span(kOlderWindow) : std::span(kOlderShortcut);
}

/// Calls `found` with each member of the object that saving would drop.
template <typename Found>
void forEachDropped(const JSONValue& object, std::span<const std::string_view> kept, Found found) {
    for (const auto& member : *object.object())
        if (std::ranges::find(kept, member.first) == kept.end())
            found(member.first);
}

std::string droppedMessage(std::string_view key) {
    return "has the member " + quoteForMessage(key) +
           ", which Varnel does not know and drops when it saves. Check its spelling or remove it.";
}

} // namespace

void checkMembers(const CheckedConfig& config, ConfigFindings& findings) {
    constexpr std::string_view code = "dropped-key";
    if (config.root.object())
        forEachDropped(config.root, kDocumentMembers, [&](const std::string& key) {
            findings.add(code, {key}, "The configuration " + droppedMessage(key));
        });
    for (std::size_t index = 0; index < config.document.items.size(); ++index) {
        const JSONValue& tree = config.tree(index);
        forEachDropped(tree, kItemMembers, [&](const std::string& key) {
            findings.addForItem(code, index, {key}, droppedMessage(key));
        });
        if (config.item(index).type == ItemType::action && tree.find("allowsPassthroughPrefix"))
            findings.addForItem(code, index, {"allowsPassthroughPrefix"},
                                "has the member \"allowsPassthroughPrefix\", which only groups have; it is "
                                "dropped on saving. Move it to the group.");
        if (!config.item(index).action)
            continue;
        const JSONValue& action = *tree.find("action");
        forEachDropped(action, actionMembers(action), [&](const std::string& key) {
            findings.addForItem(code, index, {"action", key}, droppedMessage(key));
        });
    }
}

void checkIdentifiers(const CheckedConfig& config, ConfigFindings& findings) {
    std::map<Uuid, std::size_t> first;
    for (std::size_t index = 0; index < config.document.items.size(); ++index) {
        const auto [known, isNew] = first.emplace(config.item(index).id, index);
        if (!isNew)
            findings.addForItem("equal-id", index, {"id"},
                                "has the identifier of " + config.mention(known->second) +
                                    ". Remove the \"id\" of one of them to give it a new one.");
    }
}

} // namespace varnel
