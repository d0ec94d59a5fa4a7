#include "base/Localized.h"
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
    if (!isOlderAction(action))
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

std::string droppedMessage(const std::string& owner, std::string_view key) {
    return localized("%1 has the member %2, which Varnel does not know and drops when it saves. "
                     "Check its spelling or remove it.",
                     {owner, quoteForMessage(key)});
}

void checkAction(const CheckedConfig& config, std::size_t index, ConfigFindings& findings) {
    const JSONValue& action = *config.tree(index).find("action");
    forEachDropped(action, actionMembers(action), [&](const std::string& key) {
        findings.addForItem(RuleID::droppedKey, index, {"action", key},
                            droppedMessage(config.mention(index), key));
    });
    if (isOlderAction(action))
        findings.addForItem(RuleID::olderForm, index, {"action"},
                            localized("%1 has its action in the older form, which is written no more.",
                                      {config.mention(index)}));
}

} // namespace

bool isOlderAction(const JSONValue& action) {
    const auto isText = [&](std::string_view key) {
        const JSONValue* value = action.find(key);
        return value && value->string();
    };
    return !isText("pluginID") || !isText("actionID");
}

void checkMembers(const CheckedConfig& config, ConfigFindings& findings) {
    if (config.root.object())
        forEachDropped(config.root, kDocumentMembers, [&](const std::string& key) {
            findings.add(RuleID::droppedKey, {key}, droppedMessage(localized("The configuration"), key));
        });
    else
        findings.add(RuleID::olderForm, {},
                     localized("The file is a bare list of items, a form which is written no more."));
    for (std::size_t index = 0; index < config.document.items.size(); ++index) {
        const JSONValue& tree = config.tree(index);
        forEachDropped(tree, kItemMembers, [&](const std::string& key) {
            findings.addForItem(RuleID::droppedKey, index, {key}, droppedMessage(config.mention(index), key));
        });
        if (config.item(index).type == ItemType::action && tree.find("allowsPassthroughPrefix"))
            findings.addForItem(RuleID::droppedKey, index, {"allowsPassthroughPrefix"},
                                localized("%1 has the member \"allowsPassthroughPrefix\", which only groups "
                                          "have; it is dropped on saving. Move it to the group.",
                                          {config.mention(index)}));
        if (config.item(index).action)
            checkAction(config, index, findings);
    }
}

void checkIdentifiers(const CheckedConfig& config, ConfigFindings& findings) {
    std::map<Uuid, std::size_t> first;
    for (std::size_t index = 0; index < config.document.items.size(); ++index) {
        const auto [known, isNew] = first.emplace(config.item(index).id, index);
        if (!isNew) {
            findings.addForItem(RuleID::equalID, index, {"id"},
                                localized("%1 has the identifier of %2. Remove the \"id\" of one of them to "
                                          "give it a new one.",
                                          {config.mention(index), config.mention(known->second)}));
            findings.relate(known->second, "id", localized("the same identifier"));
        }
        if (config.itemID(index).empty())
            findings.addForItem(RuleID::missingID, index, {},
                                localized("%1 has no \"id\", so it gets another one each time it is loaded.",
                                          {config.mention(index)}));
    }
}

} // namespace varnel
