#include "config/ConfigTreeDecoder.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <array>
#include <utility>

namespace varnel::ConfigTreeDecoder {
namespace {

template <typename T>
using Decoded = std::expected<T, ConfigFault>;

std::unexpected<ConfigFault> fault(JSONPath path, std::string message) {
    return std::unexpected(
        ConfigFault{.path = std::move(path), .message = std::move(message), .position = {}});
}

std::string quoted(std::string_view text) {
    return "\"" + singleLine(text, 40) + "\"";
}

std::string expectation(std::string_view expected, const JSONValue* found) {
    return localized("expected %1, found %2",
                     {expected, found ? localized(found->kindName()) : localized("nothing")});
}

JSONPath below(const JSONPath& path, JSONPathStep step) {
    JSONPath result = path;
    result.push_back(std::move(step));
    return result;
}

/// One object of the text, with its place. Members are asked for by key; null counts as absent for optional
/// ones.
struct Members {
    const JSONValue& object;
    const JSONPath& path;

    [[nodiscard]] const JSONValue* present(std::string_view key) const {
        const JSONValue* value = object.find(key);
        return value && !value->isNull() ? value : nullptr;
    }
    [[nodiscard]] std::unexpected<ConfigFault> wrong(std::string_view key, std::string_view expected) const {
        return fault(below(path, std::string(key)), expectation(expected, object.find(key)));
    }
    [[nodiscard]] Decoded<std::string> requiredString(std::string_view key) const {
        const JSONValue* value = object.find(key);
        const std::string* text = value ? value->string() : nullptr;
        if (!text)
            return wrong(key, localized("a string"));
        return *text;
    }
    [[nodiscard]] Decoded<std::optional<std::string>> optionalString(std::string_view key) const {
        const JSONValue* value = present(key);
        if (!value)
            return std::nullopt;
        if (!value->string())
            return wrong(key, localized("a string"));
        return *value->string();
    }
    [[nodiscard]] Decoded<std::optional<bool>> optionalBoolean(std::string_view key) const {
        const JSONValue* value = present(key);
        if (!value)
            return std::nullopt;
        if (!value->boolean())
            return wrong(key, localized("a boolean"));
        return *value->boolean();
    }
};

/// The members of the older form of an action.
struct OlderAction {
    std::string type;
    std::optional<std::string> path, command, terminalApplication, shortcut;
    std::optional<bool> openInTerminal;
};

constexpr std::array<std::string_view, 4> kOlderTypes = {"application", "shellCommand", "windowArrangement",
                                                         "keyboardShortcut"};

ConfigAction converted(const OlderAction& older) {
    if (older.type == "application")
        return {core::application, "open", {{"path", older.path.value_or("")}}};
    if (older.type == "windowArrangement")
        return {core::window, "arrange", {{"arrangement", older.command.value_or("")}}};
    if (older.type == "keyboardShortcut")
        return {core::shortcut, "press", {{"shortcut", older.shortcut.value_or("")}}};
    return {core::shell,
            "run",
            {{"command", older.command.value_or("")},
             {"openInTerminal", older.openInTerminal.value_or(false)},
             {"terminalApplication", older.terminalApplication.value_or("terminal")}}};
}

Decoded<std::string> decodeOlderType(const Members& members) {
    const JSONValue* value = members.object.find("type");
    if (!value && members.present("pluginID"))
        return fault(members.path,
                     localized(R"(expected "pluginID" with "actionID", found "pluginID" alone)"));
    const std::string* type = value ? value->string() : nullptr;
    for (std::string_view known : kOlderTypes)
        if (type && *type == known)
            return *type;
    const std::string expected =
        localized(R"("application", "shellCommand", "windowArrangement" or "keyboardShortcut")");
    if (type)
        return fault(below(members.path, "type"),
                     localized("expected %1, found %2", {expected, quoted(*type)}));
    return members.wrong("type", expected);
}

Decoded<ConfigAction> decodeOlderAction(const Members& members) {
    OlderAction older;
    auto type = decodeOlderType(members);
    if (!type)
        return std::unexpected(type.error());
    older.type = *type;
    const std::pair<std::string_view, std::optional<std::string>*> texts[] = {
        {"path", &older.path},
        {"command", &older.command},
        {"terminalApplication", &older.terminalApplication},
        {"shortcut", &older.shortcut}};
    for (const auto& [key, target] : texts) {
        auto text = members.optionalString(key);
        if (!text)
            return std::unexpected(text.error());
        *target = std::move(*text);
    }
    auto inTerminal = members.optionalBoolean("openInTerminal");
    if (!inTerminal)
        return std::unexpected(inTerminal.error());
    older.openInTerminal = *inTerminal;
    return converted(older);
}

Decoded<ConfigAction> decodeAction(const JSONValue& value, const JSONPath& path) {
    if (!value.object())
        return fault(path, expectation(localized("an object"), &value));
    const Members members{value, path};
    auto pluginID = members.optionalString("pluginID");
    if (!pluginID)
        return std::unexpected(pluginID.error());
    if (!*pluginID)
        return decodeOlderAction(members);
    auto actionID = members.optionalString("actionID");
    if (!actionID)
        return std::unexpected(actionID.error());
    if (!*actionID)
        return decodeOlderAction(members);
    const JSONValue* params = members.present("params");
    if (params && !params->object())
        return members.wrong("params", localized("an object"));
    return ConfigAction{**pluginID, **actionID, params ? *params->object() : JSONValue::Object{}};
}

Decoded<std::vector<std::string>> decodeKeys(const Members& members) {
    const JSONValue* value = members.object.find("keys");
    const JSONValue::Array* steps = value ? value->array() : nullptr;
    if (!steps)
        return members.wrong("keys", localized("an array of strings"));
    std::vector<std::string> keys;
    keys.reserve(steps->size());
    for (const JSONValue& step : *steps) {
        if (!step.string())
            return fault(below(below(members.path, "keys"), keys.size()),
                         expectation(localized("a string"), &step));
        keys.push_back(*step.string());
    }
    return keys;
}

Decoded<ItemType> decodeType(const Members& members) {
    const JSONValue* value = members.object.find("type");
    const std::string* text = value ? value->string() : nullptr;
    for (ItemType type : {ItemType::group, ItemType::action})
        if (text && *text == itemTypeName(type))
            return type;
    const std::string expected = localized(R"("group" or "action")");
    if (text)
        return fault(below(members.path, "type"),
                     localized("expected %1, found %2", {expected, quoted(*text)}));
    return members.wrong("type", expected);
}

Decoded<Uuid> decodeID(const Members& members) {
    auto text = members.optionalString("id");
    if (!text)
        return std::unexpected(text.error());
    if (!*text)
        return Uuid::random();
    if (auto id = Uuid::parse(**text))
        return *id;
    return fault(below(members.path, "id"),
                 localized("expected a UUID (8-4-4-4-12 hexadecimal digits), found %1", {quoted(**text)}));
}

Decoded<std::vector<ConfigItem>> decodeItems(const JSONValue::Array& values, const JSONPath& path) {
    std::vector<ConfigItem> items;
    items.reserve(values.size());
    for (const JSONValue& value : values) {
        auto item = decodeItem(value, below(path, items.size()));
        if (!item)
            return std::unexpected(item.error());
        items.push_back(std::move(*item));
    }
    return items;
}

/// What an item of either type has: everything but the action and the switches.
Decoded<ConfigItem> decodeIdentity(const Members& members) {
    ConfigItem item;
    auto id = decodeID(members);
    if (!id)
        return std::unexpected(id.error());
    auto name = members.requiredString("name");
    if (!name)
        return std::unexpected(name.error());
    auto keys = decodeKeys(members);
    if (!keys)
        return std::unexpected(keys.error());
    auto type = decodeType(members);
    if (!type)
        return std::unexpected(type.error());
    item.id = *id;
    item.name = std::move(*name);
    item.keys = std::move(*keys);
    item.type = *type;
    return item;
}

} // namespace

Decoded<ConfigItem> decodeItem(const JSONValue& value, JSONPath path) {
    if (!value.object())
        return fault(std::move(path), expectation(localized("an object"), &value));
    const Members members{value, path};
    auto item = decodeIdentity(members);
    if (!item)
        return item;
    if (const JSONValue* action = members.present("action")) {
        auto decoded = decodeAction(*action, below(path, "action"));
        if (!decoded)
            return std::unexpected(decoded.error());
        item->action = std::move(*decoded);
    }
    auto enabled = members.optionalBoolean("isEnabled");
    if (!enabled)
        return std::unexpected(enabled.error());
    item->isEnabled = enabled->value_or(true);
    if (item->type == ItemType::group) {
        auto passthrough = members.optionalBoolean("allowsPassthroughPrefix");
        if (!passthrough)
            return std::unexpected(passthrough.error());
        item->allowsPassthroughPrefix = *passthrough;
    }
    return item;
}

Decoded<ConfigFileDocument> decodeObjectForm(const JSONValue& root) {
    const JSONPath top;
    if (!root.object())
        return fault(top, expectation(localized("an object"), &root));
    const Members members{root, top};
    const JSONValue* items = root.find("items");
    if (!items || !items->array())
        return members.wrong("items", localized("an array of items"));
    auto decoded = decodeItems(*items->array(), {"items"});
    if (!decoded)
        return std::unexpected(decoded.error());
    const JSONValue* settings = root.find("pluginSettings");
    if (!settings || !settings->object())
        return members.wrong("pluginSettings", localized("an object"));
    ConfigFileDocument document{.items = std::move(*decoded), .pluginSettings = {}};
    for (const auto& [plugin, values] : *settings->object()) {
        if (!values.object())
            return fault({"pluginSettings", plugin}, expectation(localized("an object"), &values));
        document.pluginSettings.emplace(plugin, *values.object());
    }
    return document;
}

Decoded<ConfigFileDocument> decodeArrayForm(const JSONValue& root) {
    if (!root.array())
        return fault({}, expectation(localized("an array of items"), &root));
    auto items = decodeItems(*root.array(), {});
    if (!items)
        return std::unexpected(items.error());
    return ConfigFileDocument{.items = std::move(*items), .pluginSettings = {}};
}

} // namespace varnel::ConfigTreeDecoder
